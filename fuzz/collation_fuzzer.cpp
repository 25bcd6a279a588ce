// Bytes as collation rules and two texts: every way of comparing says what the rules say, and so do the sort keys. Damaged objects
// are another fuzzer's matter: these rules load, or are refused for what they say.
#include "support.h"
#include "support/collation_model.h"
#include "support/input.h"

using namespace qbgl_test;

namespace {

constexpr size_t LONGEST_TEXT = 48;

int sign(int value) { return (value > 0) - (value < 0); }

std::string key_of(auto transform) {
    const int length = transform(nullptr, 0);
    require(length >= 0);
    std::string key(static_cast<size_t>(length) + 1, '\xFF');
    require(transform(key.data(), length + 1) == length && key.back() == '\0');
    key.pop_back();
    return key;
}

// Both with their terminators.
void check(gl_locale *l, const CollatedText &a, const CollatedText &b, int order, const std::string &key) {
    const char *const s = a.bytes.c_str(), *const t = b.bytes.c_str();
    for (const auto compare : {gl_mbscoll, _gl_im_mbscoll}) require(sign(compare(l, s, t)) == order);
    for (const auto compare : {gl_mbfscoll, _qbx_gl_im_mbfscoll}) {
        require(sign(compare(l, t, b.size() - 1, s, a.size() - 1)) == -order);
        require(sign(compare(l, s, -1, t, -1)) == order);
    }
    require(sign(gl_full_wcscoll(l, a.chars.data(), b.chars.data())) == order);
    require(key_of([&](char *out, int room) { return gl_mbsxfrm(l, out, s, room); }) == key);
    require(key_of([&](char *out, int room) { return gl_wcsxfrm(l, out, a.chars.data(), room); }) == key);
    require(l->error == 0);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    static const Codeset CODESETS[] = {single_byte_codeset(), sjis_codeset(), eucjp_codeset(), utf8_codeset()};
    Input in(data, size);
    const auto random = [&in] { return in.word(); };
    const Codeset &codeset = CODESETS[in.below(std::size(CODESETS))];
    const RandomRules rules(codeset, random);
    const std::string object = LocaleObject(codeset, rules.collation.text()).text();
    serve_object(reinterpret_cast<const uint8_t *>(object.data()), object.size());
    gl_locale *locale = nullptr;
    gl_createlocale2_4(&locale, "/");
    // Expansions that never end, and elements that are no text.
    require(locale->error == 0 || locale->error == GL_EBADFILE || locale->error == GL_EILSEQ);
    if (locale->error == 0) {
        const CollationModel model(codeset, rules.collation);
        const CollatedText head = rules.text(random, in.below(LONGEST_TEXT));
        CollatedText a = head, b = head;
        for (CollatedText *text : {&a, &b}) *text += rules.text(random, in.below(4));
        const int order = model.compare(a.chars, b.chars);
        const std::string key = model.key(a.chars), end(1, '\0');
        require(sign(key.compare(model.key(b.chars))) == order);
        a += end, b += end;
        check(locale, a, b, order, key);
    }
    gl_lc_unload(locale);
    return 0;
}
