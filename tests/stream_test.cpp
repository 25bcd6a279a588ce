// Characters and lines on streams, in codesets of every shape, through a host's functions and through libc's.
#include "qbnxdl/entry_points.h"
#include "support/locale_object.h"

#include <gtest/gtest.h>

namespace qbgl_test {
namespace {

using std::string;

enum End { SILENT = 0, AT_END = 1, IN_ERROR = 2, BOTH = 3, LOW_BYTE = 5 }; // the last: 255 instead of -1

// The source and sink behind the slots, whatever the stream is.
struct Host {
    string bytes;
    int end = AT_END;
    size_t room = 0, read = 0;
    int ended(int how) const { return read > bytes.size() ? end & how : 0; }
} host;

int read_byte(void *) {
    if (host.read++ < host.bytes.size()) return static_cast<uint8_t>(host.bytes[host.read - 1]);
    return host.end == LOW_BYTE ? 255 : -1;
}
int is_at_end(FILE *) { return host.ended(AT_END); }
int has_error(FILE *) { return host.ended(IN_ERROR); }
uint32_t write_bytes(const void *bytes, uint32_t, uint32_t count, FILE *) {
    const auto taken = static_cast<uint32_t>(std::min(host.room - host.bytes.size(), size_t{count}));
    host.bytes.append(static_cast<const char *>(bytes), taken);
    return taken;
}
int write_byte(int byte, void *) { return write_bytes(&byte, 1, 1, nullptr) == 1 ? 0 : -1; }

void replace_slots(bool by_host) {
    const auto put = [=](unsigned slot, auto *function) {
        gl_setextfunc(nullptr, slot, by_host ? reinterpret_cast<gl_extfunc>(function) : nullptr);
    };
    put(GL_EXT_FGETC, read_byte), put(GL_EXT_FWRITE, write_bytes), put(GL_EXT_FEOF, is_at_end), put(GL_EXT_FERROR, has_error);
}

// ASCII and others, some of which have the bytes of a newline, in `unit` bytes each.
Codeset units(size_t unit) {
    Codeset codeset{"unicode", ascii_characters(string(unit - 1, '\0'))};
    for (const char *lead : {"\x0A", "\x30"}) add_uncased(codeset, lead + string(unit - 2, '\0'), 0, 0x20);
    return codeset;
}

class Stream : public testing::TestWithParam<Codeset> {
  protected:
    Stream() {
        for (size_t i = codeset.characters.size() - 1; i > 10; i -= 5) text.push_back(codeset.characters[i].bytes);
        for (const string &one : text) joined += one, values.push_back(wide(one));
        values.push_back(0);
        replace_slots(true);
    }
    ~Stream() override { replace_slots(false); }

    // Whether a call does what it should with a host's stream.
    void expect(const Host &with, bool success, int error, auto succeeds) {
        host = with, l->error = 0;
        EXPECT_EQ((std::tuple{succeeds(), l->error}), std::tuple(success, error))
            << hexadecimal(with.bytes) << " " << with.end << " " << l->error;
    }
    // Whether it writes as much of a text as there is room for, and succeeds when that is all.
    void expect_written(const string &whole, auto succeeds) {
        for (size_t room = 0; room <= whole.size(); ++room) {
            expect({"", AT_END, room}, room == whole.size(), room == whole.size() ? 0 : GL_EIO, succeeds);
            EXPECT_EQ(host.bytes, whole.substr(0, room));
        }
    }

    const Codeset codeset = GetParam();
    const Locale locale = load_locale(LocaleObject(codeset));
    gl_locale *const l = locale.get();
    const string newline = codeset.encode("\n"), nul = codeset.encode(string(1, '\0'));
    std::vector<string> text; // the last character of the codeset and some before it, without newline and NUL
    string joined;
    std::vector<gl_wchar> values; // terminated
    char bytes[1000] = {};
    gl_wchar wides[1000] = {};
};

TEST_P(Stream, LinesFitTheirBufferOrAreRefused) {
    const std::vector<string> line = {text[0], nul, text[1], text.back(), text[0], text[2], newline};
    for (const unsigned way : {0, 1, 2, 3}) {
        const bool narrow = way % 2 != 0, replaced = way / 2 != 0;
        replace_slots(replaced);
        for (size_t room = 0, fits = 0; fits == 0; ++room) {
            size_t read = 0, used = 0; // until something does not fit
            host = {"", AT_END, sizeof bytes};
            const File file = stream_of("");
            for (const string &one : line) {
                if (used <= room) read += one.size(), used += narrow ? one.size() : 1;
                EXPECT_NE(gl_fputmb(l, one.c_str(), file.get()), nullptr);
            }
            fits = used + (narrow ? nul.size() : 1) <= room;
            EXPECT_EQ(gl_fputwc(l, values[0], file.get()), values[0]);
            std::rewind(file.get());
            const int size = static_cast<int>(room);
            bytes[room] = char(wides[room] = '#'), l->error = 0;
            EXPECT_EQ(narrow ? gl_fgetmbs(l, bytes, size, file.get()) == bytes : gl_fgetwcs(l, wides, size, file.get()) == wides,
                      fits);
            EXPECT_EQ((std::tuple{l->error, bytes[room], wides[room]}), std::tuple((fits ? 0 : GL_E2BIG), '#', '#'))
                << room << l->error;
            EXPECT_EQ(replaced ? host.read : std::ftell(file.get()), read);
        }
        string all;
        for (size_t i = 0; i < line.size(); all += line[i++]) EXPECT_TRUE(narrow || wides[i] == wide(line[i]));
        EXPECT_TRUE(narrow ? string(bytes, all.size() + nul.size()) == all + nul : wides[line.size()] == 0);
    }
}

TEST_P(Stream, InputEndsAnywhere) {
    const bool single = l->single_byte != 0;
    size_t begin = 0; // of the character that is cut
    for (size_t cut = 0, i = 0; cut < joined.size(); ++cut) {
        if (cut == begin + text[i].size()) begin = cut, ++i;
        for (const int end : {SILENT, AT_END, IN_ERROR, BOTH, LOW_BYTE}) {
            const Host line{joined.substr(0, cut), end}, part{line.bytes.substr(begin), end};
            const int plain = cut > begin ? GL_EINVAL : GL_EEOF;
            const int bare = (end & IN_ERROR) != 0 ? GL_EIO : (end & AT_END) != 0 ? GL_EEOF : plain;
            const int refined = (end & IN_ERROR) != 0 ? GL_EIO : (end & AT_END) != 0 ? plain : GL_EREAD;
            if (end == LOW_BYTE && !single) continue;
            expect(line, false, bare, [&] { return gl_fgetmbs(l, bytes, 1000, nullptr) != nullptr; });
            expect(line, false, single ? bare : refined, [&] { return gl_fgetwcs(l, wides, 1000, nullptr) != nullptr; });
            if (end == LOW_BYTE) continue;
            expect(part, false, bare, [&] { return gl_full_fgetmb(l, bytes, nullptr) != -1; });
            expect(part, false, refined, [&] { return gl_full_fgetwc(l, nullptr) != gl_wchar(-1); });
            int length = -1;
            expect(part, false, plain, [&] { return gl_getmb(l, bytes, read_byte, nullptr, &length) != -1; });
            EXPECT_EQ(length, int(part.bytes.size()));
        }
    }
}

TEST_P(Stream, WritersFailAnywhere) {
    expect_written(joined, [&] { return gl_fputmbs(l, (joined + nul).c_str(), nullptr) == 0; });
    expect_written(joined, [&] { return gl_fputwcs(l, values.data(), nullptr) == 0; });
    text.push_back(nul);
    for (const string &one : text) {
        const int length = static_cast<int>(one.size());
        int count = -1;
        expect_written(one, [&] { return gl_fputmb(l, one.c_str(), nullptr) == one.c_str(); });
        expect_written(one, [&] { return gl_fputwc(l, wide(one), nullptr) == wide(one); });
        for (const auto put : {gl_putmb, _qbx_gl_putmb}) {
            expect_written(one, [&] {
                const int result = put(l, one.c_str(), put == gl_putmb ? -1 : length, write_byte, nullptr, &count);
                EXPECT_EQ(count, one == nul && result != 0 ? 0 : int(host.room));
                return result == 0;
            });
            const int cut = put == gl_putmb ? length - 1 : -1;
            expect({}, false, GL_EINVAL, [&] { return put(l, one.c_str(), cut, write_byte, nullptr, &count) != -1 || count != 0; });
        }
    }
}

class Refused : public Stream {};
TEST_P(Refused, BytesThatAreNoCharacter) {
    const char *const s = "\x82\x30z\n";
    expect({s}, false, GL_EILSEQ, [&] { return gl_fgetmbs(l, bytes, 8, nullptr) != nullptr || host.read != 2; });
    expect({s}, false, GL_EILSEQ, [&] { return gl_fgetwcs(l, wides, 8, nullptr) != nullptr || host.read != 2; });
    expect({}, false, GL_ENULLPTR, [&] { return gl_fputmbs(l, nullptr, nullptr) != -1 || gl_fputwcs(l, nullptr, nullptr) != -1; });
    expect({}, false, 0, [&] { return gl_fputmb(l, nullptr, nullptr) != nullptr; });
}
INSTANTIATE_TEST_SUITE_P(Sjis, Refused, testing::Values(sjis_codeset()));

// Lines of an extension's characters: the stream's end is told of the narrow ones, the extension's own error of the wide ones.
TEST(ServedStream, LinesComeFromTheExtension) {
    gl_locale locale = {};
    locale.glu_flag[GL_CAT_CTYPE] = 1;
    qbgl::fn_glu_mb_loc_min = [](void *) { return 1; };
    qbgl::fn_glu_getmb = [](void *, char *to, gl_byte_reader reader, void *stream, int *length, int16_t *) {
        const int byte = reader(stream);
        return *to = static_cast<char>(byte), *length = 1, byte < 0 ? -1 : 0;
    };
    qbgl::fn_glu_fgetuc32 = [](void *, FILE *stream, int16_t *error) {
        const int byte = read_byte(stream);
        return *error = byte < 0 ? 57 : 0, static_cast<gl_wchar>(byte);
    };
    replace_slots(true);
    char bytes[4];
    gl_wchar wides[4];
    host = {"ab\ncd\nef"};
    EXPECT_EQ((std::tuple{gl_fgetmbs(&locale, bytes, 4, nullptr), bytes}), std::tuple(bytes, string("ab\n")));
    EXPECT_EQ((std::tuple{gl_fgetwcs(&locale, wides, 4, nullptr), wides[2], wides[3]}), std::tuple(wides, '\n', 0));
    EXPECT_EQ((std::tuple{gl_fgetmbs(&locale, bytes, 4, nullptr), locale.error}), std::tuple(nullptr, GL_EEOF));
    EXPECT_EQ((std::tuple{gl_fgetwcs(&locale, wides, 4, nullptr), locale.error}), std::tuple(nullptr, 57));
    replace_slots(false);
    qbgl::clear_entry_points();
}

INSTANTIATE_TEST_SUITE_P(Shapes, Stream,
                         testing::Values(single_byte_codeset(), sjis_codeset(), eucjp_codeset(), utf8_codeset(), two_byte_codeset(),
                                         units(2), units(3), units(4)));

} // namespace
} // namespace qbgl_test
