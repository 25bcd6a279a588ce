// Any text through every function over locale specifications and file names, over the built-in registry. Outputs are heap blocks of
// exactly the documented size. The first byte chooses a category and a directory.
#include "support.h"

#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>

namespace {

// A result of the given size at most, terminator included.
class Output {
  public:
    explicit Output(size_t size) : size_(size), text_(new char[size]) { memset(text_.get(), 'x', size); }
    operator char *() const { return text_.get(); }
    std::string text() const {
        const size_t length = strnlen(text_.get(), size_);
        require(length < size_);
        return {text_.get(), length};
    }

  private:
    size_t size_;
    std::unique_ptr<char[]> text_;
};

void codesets(const char *text) {
    int length = 0;
    require(_gl_is_category(text, &length) == 0 || (length >= 7 && strncmp(text, "GL_", 3) == 0));
    const char *input = text;
    Output name(19);
    char *output = name;
    uint16_t number = GL_NO_CODESET;
    if (_gl_is_xopen_spec(nullptr, &input, &output, &number, nullptr)) {
        require(output == static_cast<char *>(name) + name.text().size() && input > text && number != GL_NO_CODESET);
        if (*input == '\0' && input - text < 285) require(gl_lc_spec2cs_num(nullptr, text, nullptr) == number);
    }
    gl_lc_spec2cs_num(nullptr, text, nullptr);
    gl_cs_name2cs_num(nullptr, text, nullptr);
}

void file_names(void *ctx, const char *text, const char *directory) {
    const size_t prefix = directory != nullptr ? 6 * strlen(directory) : 0;
    const Output name(208 + prefix), messages(11), spec(187), place(6), codeset(6), modifier(5), joined(17);
    if (gl_lc_spec2lc_fname(ctx, text, name, nullptr, directory) == 0) {
        gl_lc_fname2lc_spec(ctx, name.text().c_str(), spec, directory);
        if (gl_lc_spec2msg_dname(ctx, text, messages, nullptr, directory) == 0) require(messages.text().size() == 10);
    }
    if (gl_lc_fname2lc_spec(ctx, text, spec, nullptr) == 0) require(gl_is_lc_spec(nullptr, spec) == 0);
    if (gl_lc_fname2lc_pieces(ctx, text, place, codeset, modifier) == 0) {
        require(gl_lc_pieces2lc_spec(ctx, place, codeset, modifier, joined) == 0);
        require(joined.text().substr(0, 6) == place.text() + ".");
    }
    gl_lc_pieces2lc_spec(ctx, "ja_JP", text, text, joined);
}

void normal_forms(void *ctx, const char *text) {
    const Output norm(200), again(200), short_norm(17);
    if (gl_lc_spec2lc_norm(ctx, text, norm, nullptr) == 0) {
        require(gl_lc_spec2lc_norm(nullptr, norm, again, nullptr) == 0 && norm.text() == again.text());
        require(gl_lc_spec2cs_num(nullptr, norm, nullptr) != GL_NO_CODESET || strstr(norm, " = ") != nullptr);
    }
    if (_gl_lc_short_spec2lc_short_norm(ctx, text, short_norm, nullptr) == 0) require(short_norm.text() == norm.text());
}

void long_forms(void *ctx, const char *text, int selector) {
    const Output expanded(277), united(32), value(32);
    gl_is_lc_spec(ctx, text);
    gl_lc_spec2lc_short(ctx, text, united, nullptr);
    if (gl_lc_spec2category(ctx, text, selector, value, nullptr) == 0 && selector >= 2 && selector <= 7) value.text();
    if (gl_lc_short2lc_long(ctx, text, expanded, nullptr) < 0) return;
    require(gl_is_lc_spec(nullptr, expanded.text().c_str()) == 0);
    require(gl_lc_spec2lc_short(nullptr, expanded, united, nullptr) == 0);
    require(gl_lc_spec2category(nullptr, expanded, GL_CAT_TIME, value, nullptr) == 0 && value.text() == united.text());
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    if (size == 0) return 0;
    setenv("QUORBANEDIR", "/nonexistent", 1);
    gl_cache_registry(nullptr, "/nonexistent");
    const std::string text(reinterpret_cast<const char *>(data) + 1, size - 1);
    const char *const directories[] = {nullptr, "", "/d", "/a/longer/directory"};
    int32_t error = 0;
    codesets(text.c_str());
    file_names(&error, text.c_str(), directories[data[0] >> 4 & 3]);
    normal_forms(&error, text.c_str());
    long_forms(&error, text.c_str(), data[0] & 15);
    require(error == 0 || error == GL_EINVAL || error == GL_ENODATA);
    gl_free_registry_cache();
    return 0;
}
