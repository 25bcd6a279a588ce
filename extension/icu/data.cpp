#include "icu/entry.h"
#include "icu/file.h"
#include "icu/memory.h"

#include <cstdlib>
#include <cstring>
#include <iterator>
#include <unicode/uclean.h>
#include <unicode/udata.h>
#include <unicode/uversion.h>

namespace qbgl::icu {

namespace {

constexpr char DATA_NAME[] = "icudata";
constexpr char PACKAGED[] = "packaged";

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
// data; behind them the items in the order of their names, each with a header of its own. What stands in an item nobody checks.
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

// "packaged 72": ICU brings its data along, and is of this version. Anything else is a common data file of ICU's, icudt72l.dat.
int use(Data &data) {
    const File &file = data.file;
    if (strncmp(file.bytes(), PACKAGED, sizeof PACKAGED - 1) == 0) {
        const long version = strtol(file.bytes() + sizeof PACKAGED - 1, nullptr, 10);
        UVersionInfo own;
        u_getVersion(own);
        if (version == own[0]) return 0;
        say("qbgl_icu: the installation is for ICU %ld, this is ICU %d", version, own[0]);
        return GL_EVERSION;
    }
    if (const int wrong = check(file)) {
        say(wrong == GL_EVERSION ? "qbgl_icu: the data file is not for %s"
                                 : "qbgl_icu: the data file is damaged, or not a whole %s",
            U_ICUDATA_NAME);
        return wrong;
    }
    UErrorCode status = U_ZERO_ERROR;
    udata_setCommonData(file.bytes(), &status);
    data.held = U_SUCCESS(status);
    if (data.held) return 0;
    say("qbgl_icu: the data file is refused: %s", u_errorName(status));
    return status == U_MEMORY_ALLOCATION_ERROR ? GL_ENOMEM : GL_EBADFILE;
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
    if (data && data->file.read(path, number)) {
        const Provision provision;
        number = provision ? use(*data) : GL_ENOMEM;
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
    const bool done = --loaded == 0 && take_memory_from_icu();
    if (!done && owned->held) (void)owned->file.release(); // an ICU that lives on may use it
}

const char *glu_icuErrorName(int code) {
    const char *const name = u_errorName(static_cast<UErrorCode>(code));
    return name != nullptr ? name : "";
}

int glu_extension_version(void) { return QBGL_EXTENSION_VERSION; }

// What qbglc asks for, to write an installation: the major version.
extern "C" QBGL_API int qbgl_icu_version() {
    UVersionInfo own;
    u_getVersion(own);
    return own[0];
}
