#include "order/fingerprint.h"

#include "coll/fingerprint.h"
#include "system/fingerprint.h"

namespace qbgl::compiler {

std::string characters_fingerprint(const Codeset &codeset) {
    std::string text;
    for (const Character &character : codeset.read()) text += character.bytes.text() + utf8_of(character.code).text() + '\n';
    return Fingerprint().add(text).hex();
}

std::string order_fingerprint(const std::string &characters, std::string_view collate_section) {
    return Fingerprint().add(std::to_string(KEY_FORMAT)).add(characters).add(collate_section).hex();
}

} // namespace qbgl::compiler
