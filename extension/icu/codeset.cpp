#include "icu/codeset.h"

#include "icu/hash.h"
#include "icu/memory.h"

#include <algorithm>
#include <cstring>
#include <iterator>
#include <unicode/uchar.h>
#include <unicode/ustring.h>

namespace qbgl::icu {

namespace {

constexpr UChar32 REPLACEMENT = 0xFFFD;

// The error that it is called with stands. ICU's own callback of the name STOP leaves default-ignorable characters out instead.
void keep_error(const void *, UConverterFromUnicodeArgs *, const UChar *, int32_t, UChar32, UConverterCallbackReason,
                UErrorCode *) {}

int error_of(UErrorCode status) { return status == U_MEMORY_ALLOCATION_ERROR ? GL_ENOMEM : GL_EILSEQ; }

} // namespace

void stop_at_errors(UConverter *converter, UErrorCode &status) {
    ucnv_setToUCallBack(converter, UCNV_TO_U_CALLBACK_STOP, nullptr, nullptr, nullptr, &status);
    ucnv_setFromUCallBack(converter, keep_error, nullptr, nullptr, nullptr, &status);
}

ConverterPool::~ConverterPool() {
    while (count_ > 0) ucnv_close(free_[--count_]);
    ucnv_close(model_);
}

bool ConverterPool::open(const char *name, UErrorCode &status) {
    model_ = ucnv_open(name, &status);
    if (U_SUCCESS(status)) stop_at_errors(model_, status);
    return U_SUCCESS(status);
}

UConverter *ConverterPool::take() {
    pthread_mutex_lock(&mutex_);
    UConverter *converter = count_ > 0 ? free_[--count_] : nullptr;
    pthread_mutex_unlock(&mutex_);
    if (converter != nullptr) return converter;
    const KeepErrno errno_stays;
    const Provision provision; // for it stays in the pool
    UErrorCode status = U_ZERO_ERROR;
    if (provision) converter = ucnv_clone(model_, &status);
    return U_SUCCESS(status) ? converter : nullptr;
}

void ConverterPool::give_back(UConverter *converter) {
    ucnv_reset(converter);
    pthread_mutex_lock(&mutex_);
    const bool kept = count_ < KEPT;
    if (kept) free_[count_++] = converter;
    pthread_mutex_unlock(&mutex_);
    if (!kept) ucnv_close(converter);
}

bool Codeset::open(const Map::Codeset &of_map, int16_t &error) {
    of_map_ = &of_map;
    UErrorCode status = U_ZERO_ERROR;
    if (!pool_.open(of_map.icu, status)) {
        error = status == U_MEMORY_ALLOCATION_ERROR ? GL_ENOMEM : GL_ENOFILE;
        return false;
    }
    error = GL_ENOFILE;
    longest_ = ucnv_getMaxCharSize(pool_.model());
    switch (ucnv_getType(pool_.model())) {
    case UCNV_UTF8:
        kind_ = Kind::UTF8;
        longest_ = LONGEST;
        return true;
    case UCNV_SBCS:
    case UCNV_LATIN_1:
    case UCNV_US_ASCII: kind_ = Kind::SINGLE_BYTE; break;
    case UCNV_MBCS: kind_ = Kind::MULTI_BYTE; break;
    default: return false;
    }
    if (ucnv_getMinCharSize(pool_.model()) != 1 || longest_ > LONGEST) return false;
    if (list_single_bytes(status)) return true;
    error = GL_ENOMEM;
    return false;
}

const char *Codeset::name() const {
    UErrorCode status = U_ZERO_ERROR;
    const char *const name = ucnv_getName(pool_.model(), &status);
    return U_SUCCESS(status) ? name : "";
}

bool Codeset::list_single_bytes(UErrorCode &status) {
    Lease lease(pool_);
    UConverter *const converter = lease.get();
    if (converter == nullptr) return false;
    for (int byte = 0; byte < 256; ++byte) {
        const char text = static_cast<char>(byte);
        const char *at = &text;
        status = U_ZERO_ERROR;
        ucnv_resetToUnicode(converter);
        const UChar32 value = ucnv_getNextUChar(converter, &at, &text + 1, &status);
        values_[byte] = U_SUCCESS(status) ? value : -1;
    }
    // A value that several bytes have is written as the converter writes it.
    for (int byte = 0; byte < 256 && kind_ == Kind::SINGLE_BYTE; ++byte) {
        if (values_[byte] < 0) continue;
        UChar units[U16_MAX_LENGTH];
        int32_t count = 0;
        U16_APPEND_UNSAFE(units, count, values_[byte]);
        char written;
        status = U_ZERO_ERROR;
        const int length = ucnv_fromUChars(converter, &written, 1, units, count, &status);
        if (U_SUCCESS(status) && length == 1) codes_[code_count_++] = {values_[byte], static_cast<uint8_t>(written)};
    }
    std::sort(codes_, codes_ + code_count_, [](const Code &a, const Code &b) { return a.value < b.value; });
    status = U_ZERO_ERROR;
    return true;
}

// The characters of several bytes take up to 5 ms, so once for a map.
bool Codeset::hash_mapping(Hash &hash) const {
    if (kind_ == Kind::UTF8) return true;
    hash.add(values_, sizeof values_);
    if (kind_ == Kind::SINGLE_BYTE) return true;
    static pthread_mutex_t mutex = PTHREAD_MUTEX_INITIALIZER;
    pthread_mutex_lock(&mutex);
    const bool done = of_map_->mapping != 0 || hash_characters(of_map_->mapping);
    const uint64_t mapping = of_map_->mapping;
    pthread_mutex_unlock(&mutex);
    hash.add(&mapping, sizeof mapping);
    return done;
}

// All characters of two bytes; of more, some behind each first byte, and the bytes of all values of 16 bits.
bool Codeset::hash_characters(uint64_t &value) const {
    constexpr int FIRST_TRAIL = 0x30, TRAILS = 0xFF - FIRST_TRAIL;
    constexpr UChar32 BLOCK = 256;
    Lease lease(pool_);
    UConverter *const converter = lease.get();
    if (converter == nullptr) return false;
    UErrorCode status = U_ZERO_ERROR;
    ucnv_setToUCallBack(converter, UCNV_TO_U_CALLBACK_SUBSTITUTE, nullptr, nullptr, nullptr, &status);
    ucnv_setFromUCallBack(converter, UCNV_FROM_U_CALLBACK_SUBSTITUTE, nullptr, nullptr, nullptr, &status);
    Hash hash;
    for (int lead = 0; lead < 256; ++lead) {
        if (values_[lead] >= 0) continue;
        char text[TRAILS * (2 + 3 + LONGEST)];
        UChar units[sizeof text], *end = units;
        size_t size = 0;
        for (int length = 2; length <= longest_; ++length) {
            for (int trail = FIRST_TRAIL; trail < FIRST_TRAIL + TRAILS; ++trail) {
                text[size] = static_cast<char>(lead);
                memset(text + size + 1, trail, static_cast<size_t>(length - 1));
                size += static_cast<size_t>(length);
            }
        }
        const char *at = text;
        ucnv_resetToUnicode(converter);
        ucnv_toUnicode(converter, &end, units + std::size(units), &at, text + size, nullptr, true, &status);
        hash.add(units, static_cast<size_t>(end - units) * sizeof *units);
    }
    for (UChar32 block = longest_ > 2 ? 0 : 0x10000; block < 0x10000 && U_SUCCESS(status); block += BLOCK) {
        UChar units[BLOCK];
        char bytes[BLOCK * LONGEST], *to = bytes;
        for (UChar32 i = 0; i < BLOCK; ++i) units[i] = static_cast<UChar>(U_IS_SURROGATE(block + i) ? 0 : block + i);
        const UChar *from = units;
        ucnv_fromUnicode(converter, &to, bytes + sizeof bytes, &from, units + BLOCK, nullptr, true, &status);
        hash.add(bytes, static_cast<size_t>(to - bytes));
    }
    const bool done = U_SUCCESS(status);
    status = U_ZERO_ERROR;
    stop_at_errors(converter, status);
    if (done) value = hash.value();
    return done;
}

// Byte by byte, because a converter that is given more may look behind the character.
Decoded Characters::decode_by_converter(const char *s, int n) {
    UConverter *const converter = lease_.get();
    if (converter == nullptr) return {0, NO_MEMORY};
    for (int length = 2; length <= std::min(n, codeset_.longest_); ++length) {
        const char *at = s;
        UErrorCode status = U_ZERO_ERROR;
        ucnv_resetToUnicode(converter);
        const UChar32 value = ucnv_getNextUChar(converter, &at, s + length, &status);
        if (U_SUCCESS(status)) return {value, static_cast<int>(at - s)};
        if (status != U_TRUNCATED_CHAR_FOUND) return {0, status == U_MEMORY_ALLOCATION_ERROR ? NO_MEMORY : NO_CHARACTER};
    }
    if (n >= codeset_.longest_) return {0, NO_CHARACTER};
    if (n > 1) return {0, CUT};
    const char *at = s;
    UErrorCode status = U_ZERO_ERROR;
    ucnv_resetToUnicode(converter);
    ucnv_getNextUChar(converter, &at, s + 1, &status);
    return {0, status == U_TRUNCATED_CHAR_FOUND ? CUT : NO_CHARACTER};
}

int Characters::encode(char *out, UChar32 value) {
    if (value < 0 || value > UCHAR_MAX_VALUE || U_IS_SURROGATE(value)) return NO_CHARACTER;
    if (codeset_.kind_ == Codeset::Kind::UTF8) {
        int32_t length = 0;
        U8_APPEND_UNSAFE(reinterpret_cast<uint8_t *>(out), length, value);
        return length;
    }
    if (codeset_.kind_ == Codeset::Kind::SINGLE_BYTE) {
        const auto *const end = codeset_.codes_ + codeset_.code_count_;
        const auto *const found = std::lower_bound(codeset_.codes_, end, value,
                                                   [](const Codeset::Code &code, UChar32 wanted) { return code.value < wanted; });
        if (found == end || found->value != value) return NO_CHARACTER;
        *out = static_cast<char>(found->byte);
        return 1;
    }
    UConverter *const converter = lease_.get();
    if (converter == nullptr) return NO_MEMORY;
    UChar units[U16_MAX_LENGTH];
    int32_t count = 0;
    U16_APPEND_UNSAFE(units, count, value);
    char bytes[2 * Codeset::LONGEST];
    UErrorCode status = U_ZERO_ERROR;
    const int length = ucnv_fromUChars(converter, bytes, sizeof bytes, units, count, &status);
    if (status == U_MEMORY_ALLOCATION_ERROR) return NO_MEMORY;
    if (U_FAILURE(status) || length > Codeset::LONGEST) return NO_CHARACTER;
    memcpy(out, bytes, static_cast<size_t>(length));
    return length;
}

int Characters::to_utf16(const char *s, int length, Utf16 &out, int16_t &error) {
    if (!out.reserve(static_cast<size_t>(length) + 1)) {
        error = GL_ENOMEM;
        return -1;
    }
    error = GL_EILSEQ;
    if (codeset_.kind_ == Codeset::Kind::SINGLE_BYTE) {
        UChar *const units = out.data();
        for (int i = 0; i < length; ++i) {
            const UChar32 value = codeset_.values_[static_cast<uint8_t>(s[i])];
            if (value < 0) return -1;
            units[i] = static_cast<UChar>(value);
        }
        return length;
    }
    UErrorCode status = U_ZERO_ERROR;
    int32_t units = 0;
    if (codeset_.kind_ == Codeset::Kind::UTF8) {
        u_strFromUTF8(out.data(), static_cast<int32_t>(out.capacity()), &units, s, length, &status);
    } else if (UConverter *const converter = lease_.get()) {
        units = ucnv_toUChars(converter, out.data(), static_cast<int32_t>(out.capacity()), s, length, &status);
    } else {
        status = U_MEMORY_ALLOCATION_ERROR;
    }
    if (U_SUCCESS(status)) return units;
    error = static_cast<int16_t>(error_of(status));
    return -1;
}

int Characters::to_utf16_leniently(const char *s, int length, Utf16 &out, int16_t &error) {
    if (const int units = to_utf16(s, length, out, error); units >= 0 || error == GL_ENOMEM) return units;
    if (codeset_.kind_ == Codeset::Kind::UTF8) {
        UErrorCode status = U_ZERO_ERROR;
        int32_t units = 0;
        u_strFromUTF8WithSub(out.data(), static_cast<int32_t>(out.capacity()), &units, s, length, REPLACEMENT, nullptr, &status);
        return units;
    }
    UChar *const begin = out.data();
    int32_t units = 0;
    for (int i = 0; i < length;) {
        const Decoded character = decode(s + i, length - i);
        U16_APPEND_UNSAFE(begin, units, character ? character.value : REPLACEMENT);
        i += character ? character.length : 1;
    }
    return units;
}

} // namespace qbgl::icu

// What qbglc asks for, to write an installation: whether this ICU can serve locales in a codeset of its name.
extern "C" QBGL_API int qbgl_icu_codeset(const char *name) {
    using namespace qbgl::icu;
    const Provision provision; // it may be its first converter
    const Map::Codeset named = {0, name, name};
    Codeset codeset;
    int16_t error = 0;
    return provision && codeset.open(named, error) ? 1 : 0;
}
