// Texts of a definition in the bytes of a codeset.
#pragma once

#include "charmap/codeset.h"
#include "definition/definition.h"

#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace qbgl::compiler {

// The codeset has no bytes for a text. The object cannot be made, but nothing is wrong with its sources.
struct EncodingError : DataError {
    using DataError::DataError;
};

// Gathers what is wrong with the texts and numbers of a locale.
class LocaleErrors {
  public:
    // The function's result; an empty line and the error kept when it throws DataError.
    template <class Function> std::string collect(Function function) {
        try {
            return function();
        } catch (const EncodingError &error) {
            errors_.add(error.what());
        } catch (const DataError &error) {
            errors_.add(error.what());
            only_encoding_ = false;
        }
        return {};
    }
    // Throws EncodingError when nothing but the codeset is in the way, DataError when something else is.
    void throw_if_any() const {
        if (const std::string text = errors_.text(); only_encoding_ && !text.empty()) throw EncodingError(text);
        errors_.throw_if_any();
    }

  private:
    ErrorList errors_;
    bool only_encoding_ = true;
};

// The bytes of a character as they lie in memory.
Sequence memory_bytes(const Codeset &codeset, const Sequence &bytes);

// What the codeset lacks is written as the definition's own transliteration rules say, with the first alternative that the codeset
// has whole. So does the platform's localedef. Bytes that read back as another character come last.
class LocaleEncoder {
  public:
    // Both must outlive the encoder; `name` is the codeset's in messages. Throws DataError for a stateful codeset, in which a text
    // cannot stand by itself.
    LocaleEncoder(const CharacterTypes &types, const Codeset &codeset, std::string name);

    // Throws EncodingError with the place.
    std::string encode(std::u32string_view text, const Place &place) const;
    // A string line of an object: the number of bytes, and the bytes in hexadecimal.
    std::string line(std::u32string_view text, const Place &place) const;

  private:
    enum class Reading { SAME, ANY }; // as what the bytes may read back
    bool append(char32_t code, std::string &bytes, Reading reading) const;
    bool append_whole(std::u32string_view text, std::string &bytes) const;
    bool append_transliterated(char32_t code, std::string &bytes) const;

    const Codeset &codeset_;
    std::string name_;
    std::multimap<char32_t, const TranslitRule *> rules_; // of one character in order of search
};

} // namespace qbgl::compiler
