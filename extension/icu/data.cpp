#include "icu/entry.h"
#include "icu/file.h"
#include "icu/memory.h"
#include "icu/order.h"

#include <cinttypes>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <unicode/uclean.h>
#include <unicode/udata.h>
#include <unicode/uversion.h>

namespace qbgl::icu {

namespace {

constexpr char DATA_NAME[] = "icudata";
#define COMMON_DATA U_ICUDATA_NAME ".dat"
constexpr size_t LONGEST_LINE = 64;

int loaded = 0; // handles that are out

struct Data {
    File file;
    bool held = false; // ICU keeps hold of the bytes
};

template <class Number> size_t number_at(const File &file, size_t at) {
    Number number;
    memcpy(&number, file.bytes() + at, sizeof number);
    return number;
}

constexpr char ITEMS[] = U_ICUDATA_NAME "/"; // how their names begin

// 0, or the error of a common data file. ICU is told no size and asks for items by the name of its version, in its own data where a
// file lacks them. So the table of contents is checked: a header; the number of items, and for each the offsets of its name and its
// data; behind them the items in the order of their names, each with a header of its own. What stands in the items is not checked.
int check(const File &file) {
    static constexpr const char *NEEDED[] = {"coll/root.res", "coll/ucadata.icu", "root.res"}; // in the order of names
    struct Header {
        uint16_t size;
        uint8_t magic[2];
        UDataInfo info;
    } header;
    if (file.size() < sizeof header) return GL_EBADFILE;
    memcpy(&header, file.bytes(), sizeof header);
    if (header.magic[0] != 0xDA || header.magic[1] != 0x27 || memcmp(header.info.dataFormat, "CmnD", 4) != 0) return GL_EBADFILE;
    if (header.info.isBigEndian != U_IS_BIG_ENDIAN || header.size < sizeof header) return GL_EBADFILE;
    constexpr size_t OFFSET = sizeof(uint32_t);
    const size_t table = header.size; // offsets count from here
    if (file.size() < table + OFFSET) return GL_EBADFILE;
    const size_t room = file.size() - table, count = number_at<uint32_t>(file, table);
    if (count == 0 || count > (room - OFFSET) / (2 * OFFSET)) return GL_EBADFILE;
    size_t end = OFFSET + count * 2 * OFFSET, found = 0;
    const char *last_name = "";
    for (size_t entry = OFFSET; entry < OFFSET + count * 2 * OFFSET; entry += 2 * OFFSET) {
        const size_t name = number_at<uint32_t>(file, table + entry), data = number_at<uint32_t>(file, table + entry + OFFSET);
        if (name >= room || data < end || data > room || room - data < sizeof header) return GL_EBADFILE;
        const char *const own_name = file.bytes() + table + name; // ends with the file at the latest
        if (strcmp(last_name, own_name) >= 0) return GL_EBADFILE;
        last_name = own_name;
        if (strncmp(own_name, ITEMS, sizeof ITEMS - 1) != 0) return GL_EVERSION;
        if (found < std::size(NEEDED) && strcmp(own_name + sizeof ITEMS - 1, NEEDED[found]) == 0) ++found;
        const size_t own_header = number_at<uint16_t>(file, table + data);
        if (own_header < sizeof header || own_header > room - data) return GL_EBADFILE;
        end = data + own_header;
    }
    return found == std::size(NEEDED) ? 0 : GL_EBADFILE;
}

int start() {
    UErrorCode code = U_ZERO_ERROR;
    u_init(&code);
    if (U_SUCCESS(code)) return 0;
    say("qbgl_icu: ICU cannot start: %s", u_errorName(code));
    return code == U_MEMORY_ALLOCATION_ERROR ? GL_ENOMEM : GL_EBADFILE;
}

// The common data file beside the file `path`, if it is whole and for this ICU, and what a line of `path` says of it. 0 or an
// error.
int read_common_data(const char *path, File &file, char (&line)[LONGEST_LINE]) {
    const char *const slash = strrchr(path, '/');
    const size_t folder = slash != nullptr ? static_cast<size_t>(slash + 1 - path) : 0;
    Scratch<char, 256> name;
    int status = GL_ENOMEM;
    if (!name.reserve(folder + sizeof COMMON_DATA)) return status;
    memcpy(name.data(), path, folder);
    memcpy(name.data() + folder, COMMON_DATA, sizeof COMMON_DATA);
    if (file.read(name.data(), status)) status = check(file);
    if (status == GL_EBADFILE) say("qbgl_icu: %s is damaged, or not a whole file of ICU's data", name.data());
    if (status == GL_EVERSION) say("qbgl_icu: %s is not for %s", name.data(), U_ICUDATA_NAME);
    if (status == 0) snprintf(line, sizeof line, "%s %016" PRIx64 "\n", COMMON_DATA, file.sum());
    return status;
}

int use_common_data(const File &line, const char *path, Data &data) {
    char own_line[LONGEST_LINE];
    const int wrong = read_common_data(path, data.file, own_line);
    if (wrong == GL_ENOFILE) say("qbgl_icu: %s is not there, which %s names", COMMON_DATA, path);
    if (wrong != 0) return wrong;
    if (strcmp(line.bytes(), own_line) != 0) {
        say("qbgl_icu: %s has another sum than %s says: damaged, or not installed by qbglc tree --icu", COMMON_DATA, path);
        return GL_EBADFILE;
    }
    UErrorCode status = U_ZERO_ERROR;
    udata_setCommonData(data.file.bytes(), &status);
    data.held = U_SUCCESS(status);
    if (data.held) return 0;
    say("qbgl_icu: the data file is refused: %s", u_errorName(status));
    return status == U_MEMORY_ALLOCATION_ERROR ? GL_ENOMEM : GL_EBADFILE;
}

// What follows a prefix of a text, or null.
const char *behind(const char *prefix, const char *text) {
    const size_t length = strlen(prefix);
    return strncmp(text, prefix, length) == 0 ? text + length : nullptr;
}

// The line of icudata at `path` tells which data are used. "packaged 72": those that ICU brings along, of this version.
// "icudt72l.dat 0123456789abcdef": a common data file beside it, and its sum, for ICU trusts what stands in the items.
int use(const File &line, const char *path, Data &data) {
    if (const char *const number = behind("packaged ", line.bytes())) {
        const long version = strtol(number, nullptr, 10);
        UVersionInfo own;
        u_getVersion(own);
        if (version == own[0]) return 0;
        say("qbgl_icu: the installation is for ICU %ld, this is ICU %d", version, own[0]);
        return GL_EVERSION;
    }
    if (behind(COMMON_DATA " ", line.bytes()) != nullptr) return use_common_data(line, path, data);
    const bool other = behind("icudt", line.bytes()) != nullptr;
    say(other ? "qbgl_icu: %s is not for %s"
              : "qbgl_icu: %s is no line that qbglc tree --icu writes; ICU's data belong beside it, as %s",
        path, COMMON_DATA);
    return other ? GL_EVERSION : GL_EBADFILE;
}

} // namespace
} // namespace qbgl::icu

using namespace qbgl::icu;

int glu_getIcuDataFileName(char *name, int size) {
    if (name == nullptr || size < static_cast<int>(sizeof DATA_NAME)) return -1;
    memcpy(name, DATA_NAME, sizeof DATA_NAME);
    return 0;
}

void *glu_loadIcuData(const char *path, int, int *status) {
    if (path == nullptr) return fail<int, void *>(status, GL_ENULLPTR, nullptr);
    const KeepErrno errno_stays;
    lend_memory_to_icu();
    int number = GL_ENOMEM;
    Owned<Data> data = make<Data>();
    if (File line; data && line.read(path, number)) {
        const Provision provision;
        number = provision ? use(line, path, *data) : GL_ENOMEM;
        if (number == 0) number = start();
    }
    if (number != 0) {
        if (!(loaded == 0 && take_memory_from_icu()) && data && data->held) (void)data->file.release();
        return fail<int, void *>(status, number, nullptr);
    }
    ++loaded;
    return data.release();
}

void glu_unloadIcuData(void *data) {
    if (data == nullptr) return;
    const KeepErrno errno_stays;
    Owned<Data> owned(static_cast<Data *>(data));
    if (--loaded == 0) Order::forget_all();
    const bool done = loaded == 0 && take_memory_from_icu();
    if (!done && owned->held) (void)owned->file.release(); // an ICU that lives on may use it
}

const char *glu_icuErrorName(int code) {
    const char *const name = u_errorName(static_cast<UErrorCode>(code));
    return name != nullptr ? name : "";
}

int glu_extension_version(void) { return QBGL_EXTENSION_VERSION; }

// What qbglc asks for, to write an installation: the line of icudata at `path`, which is to take a common data file beside it where
// there is one. 0 or an error.
extern "C" QBGL_API int qbgl_icu_data(const char *path, char *line, int size) {
    char own_line[LONGEST_LINE];
    File file;
    const int wrong = read_common_data(path, file, own_line);
    UVersionInfo own;
    u_getVersion(own);
    if (wrong == GL_ENOFILE) snprintf(own_line, sizeof own_line, "packaged %d\n", own[0]);
    snprintf(line, static_cast<size_t>(size), "%s", own_line);
    return wrong == GL_ENOFILE ? 0 : wrong;
}
