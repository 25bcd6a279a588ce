#include "icu/marks.h"

#include "icu/memory.h"

#include <atomic>
#include <cstring>
#include <pthread.h>
#include <unicode/uset.h>
#include <unicode/utf16.h>
#include <unicode/utf8.h>

namespace qbgl::icu {

namespace {

constexpr UChar32 FIRST = 0x7FD; // of the marks
constexpr int BLOCK_SIZE = 64, BLOCKS = 0x110000 / BLOCK_SIZE, MOST_MASKS = 256;

uint8_t mask_of_block[BLOCKS]; // 0: none in it
uint64_t masks[MOST_MASKS];
std::atomic<bool> listed = false;

bool is_doubtful(UChar32 value) { return value >= 0 && (masks[mask_of_block[value / BLOCK_SIZE]] >> value % BLOCK_SIZE & 1) != 0; }

void list(const USet *marks) {
    int made = 0;
    const int ranges = uset_getItemCount(marks);
    for (int i = 0; i < ranges; ++i) {
        UChar32 first, last;
        UErrorCode status = U_ZERO_ERROR;
        uset_getItem(marks, i, &first, &last, nullptr, 0, &status);
        for (UChar32 value = first; value <= last; ++value) {
            uint8_t &mask = mask_of_block[value / BLOCK_SIZE];
            if (mask == 0) mask = static_cast<uint8_t>(made < MOST_MASKS - 1 ? ++made : made); // the last one serves many
            masks[mask] |= uint64_t{1} << value % BLOCK_SIZE;
        }
    }
}

// Whether one of eight bytes may be a lead byte of a mark: DC or above.
bool may_lead(uint64_t bytes) {
    constexpr uint64_t HIGH_BITS = 0x8080808080808080;
    return (bytes & bytes << 1 & (bytes << 2 | (bytes << 3 & bytes << 4 & bytes << 5)) & HIGH_BITS) != 0;
}

} // namespace

bool list_doubtful_marks() {
    if (listed.load(std::memory_order_acquire)) return true;
    static pthread_mutex_t mutex = PTHREAD_MUTEX_INITIALIZER;
    static constexpr UChar PATTERN[] = u"[[[:^lccc=0:][:^tccc=0:]]-[[:age=8.0:]&[\\u0000-\\uFFFF]]]";
    const Provision provision;
    if (!provision) return false;
    pthread_mutex_lock(&mutex);
    UErrorCode status = U_ZERO_ERROR;
    USet *const marks = uset_openPattern(PATTERN, -1, &status);
    if (U_SUCCESS(status)) {
        if (!listed.load(std::memory_order_relaxed)) list(marks);
        listed.store(true, std::memory_order_release);
    }
    uset_close(marks);
    pthread_mutex_unlock(&mutex);
    return U_SUCCESS(status);
}

bool has_doubtful_marks(const char *utf8, int32_t length) {
    const auto *const s = reinterpret_cast<const uint8_t *>(utf8);
    int32_t at = 0;
    for (uint64_t bytes; length - at >= static_cast<int32_t>(sizeof bytes); at += static_cast<int32_t>(sizeof bytes)) {
        memcpy(&bytes, s + at, sizeof bytes);
        if (may_lead(bytes)) break;
    }
    while (at < length) {
        UChar32 value;
        U8_NEXT(s, at, length, value);
        if (is_doubtful(value)) return true;
    }
    return false;
}

bool has_doubtful_marks(const UChar *units, int32_t length) {
    for (int32_t at = 0; at < length;) {
        UChar32 value = units[at];
        if (value < FIRST) {
            ++at;
            continue;
        }
        U16_NEXT(units, at, length, value);
        if (is_doubtful(value)) return true;
    }
    return false;
}

} // namespace qbgl::icu
