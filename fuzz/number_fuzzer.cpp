// Bytes as conventions of numbers and a text: whatever is read ends within the text, and what is written comes back. Texts are heap
// blocks of exactly their size.
#include "support.h"
#include "support/input.h"

#include <algorithm>
#include <array>
#include <climits>
#include <vector>

namespace {

using qbgl_test::Input;

// At most so many characters, of which FF makes one above 255 of the next.
std::vector<gl_wchar> text_from(Input &in, size_t most) {
    std::vector<gl_wchar> result;
    while (result.size() < most && !in.at_end()) {
        const unsigned first = in.byte(), value = first == 0xFF ? 0x100 + in.byte() : first;
        if (value == 0) break;
        result.push_back(value);
    }
    result.push_back(0);
    result.shrink_to_fit();
    return result;
}

// A record over one-byte characters, with the classes of ASCII.
class Locale {
  public:
    explicit Locale(Input &in) {
        for (int byte = '\t'; byte <= '\r'; ++byte) classes_[static_cast<size_t>(byte)] = GL_CLASS_SPACE;
        classes_[' '] = GL_CLASS_SPACE;
        for (int byte = '0'; byte <= '9'; ++byte) classes_[static_cast<size_t>(byte)] = GL_CLASS_DIGIT;
        for (const unsigned digit : {0xB2U, 0xB3U}) classes_[digit] = GL_CLASS_DIGIT;
        record_.classes = classes_.data();
        record_.single_byte = 1;
        record_.mbstowcs = _gl_is_mbstowcs;
        for (gl_grouping *grouping : {&record_.numeric.grouping, &record_.monetary.mon_grouping}) {
            grouping->count = static_cast<int32_t>(in.byte() % 16);
            for (int i = 0; i < grouping->count; ++i) grouping->sizes[i] = static_cast<int32_t>(in.byte() % 6) - 1;
        }
        gl_text *const texts[] = {&record_.numeric.decimal_point,      &record_.numeric.thousands_sep,
                                  &record_.numeric.negative_sign,      &record_.numeric.positive_sign,
                                  &record_.monetary.mon_decimal_point, &record_.monetary.mon_thousands_sep,
                                  &record_.monetary.negative_sign,     &record_.monetary.positive_sign};
        for (size_t i = 0; i < std::size(texts); ++i) {
            symbols_[i] = text_from(in, in.byte() % 4);
            texts[i]->wide = symbols_[i].data();
        }
    }
    gl_locale *operator&() { return &record_; }
    bool has_separator() const { return symbols_[1].size() > 1; }

  private:
    gl_locale record_{};
    std::array<uint16_t, 256> classes_{};
    std::array<std::vector<gl_wchar>, 8> symbols_;
};

void write_and_read(Locale &locale, long value, int base) {
    std::vector<gl_wchar> out(256, 0xFFFF);
    gl_ltowcs(&locale, out.data(), 256, value, base, 1);
    const auto end = std::find(out.begin(), out.end(), 0U);
    require(end != out.end());
    for (const size_t size : {size_t{0}, size_t{1}, static_cast<size_t>(end - out.begin())}) {
        std::vector<gl_wchar> small(size);
        gl_ltowcs(&locale, small.data(), static_cast<int>(size), value, base, 1);
        require(size == 0 || small[0] == 0 || size == out.size());
    }
    if (base < 2 || base > 36 || end == out.begin() || !locale.has_separator() || value < 0) return;
    gl_wchar *stop = nullptr;
    const unsigned long again = gl_wcstoul(&locale, out.data(), &stop, base, 1);
    require(again == static_cast<unsigned long>(value) || stop == nullptr || *stop != 0);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    Input in(data, size);
    const int base = static_cast<int>(in.byte() % 40);
    Locale locale(in);
    std::vector<gl_wchar> text = text_from(in, 600);
    std::vector<char> bytes(text.begin(), text.end());
    gl_wchar *const begin = text.data(), *const last = begin + text.size() - 1;
    for (const int grouping : {0, 1}) {
        gl_wchar *end = begin;
        const long value = gl_wcstol(&locale, begin, &end, base, grouping);
        require(begin <= end && end <= last);
        write_and_read(locale, value, base);
        end = begin;
        gl_wcstoull(&locale, begin, &end, base, grouping);
        require(begin <= end && end <= last);
        for (const int monetary : {0, 1}) {
            gl_wcstod_num_mon(&locale, begin, &end, grouping, monetary);
            require(begin <= end && end <= last);
        }
        const auto is_in_text = [&bytes](const char *place) {
            return bytes.data() <= place && place < bytes.data() + bytes.size();
        };
        char *byte_end = bytes.data();
        gl_mbstol(&locale, bytes.data(), &byte_end, base, grouping);
        require(byte_end == nullptr ? grouping == 1 : is_in_text(byte_end)); // null for text that grouping refuses
        byte_end = bytes.data();
        gl_mbstod(&locale, bytes.data(), &byte_end, grouping);
        require(is_in_text(byte_end));
    }
    return 0;
}
