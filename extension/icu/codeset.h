// The codeset of a locale: its characters one by one, and whole texts to and from UTF-16.
#pragma once

#include "icu/host.h"
#include "icu/map.h"

#include <pthread.h>
#include <qbgl.h>
#include <unicode/ucnv.h>
#include <unicode/utf8.h>

namespace qbgl::icu {

class Hash;

enum { NO_CHARACTER = 0, CUT = -1, NO_MEMORY = -2 };

// A character and its bytes; or why there is none, in place of their number.
struct Decoded {
    UChar32 value;
    int length;

    explicit operator bool() const { return length > 0; }
    // The error that there is no character.
    int error() const { return length == NO_MEMORY ? GL_ENOMEM : GL_EILSEQ; }
};

using Utf16 = Scratch<UChar, 512>;

// A converter is to stop at what is no character, and at every character that its codeset lacks.
void stop_at_errors(UConverter *converter, UErrorCode &status);

// Converters of one codeset for any number of threads, each of which stops at what cannot be converted.
class ConverterPool {
  public:
    ConverterPool() = default;
    ConverterPool(const ConverterPool &) = delete;
    ConverterPool &operator=(const ConverterPool &) = delete;
    ~ConverterPool();

    bool open(const char *name, UErrorCode &status);
    const UConverter *model() const { return model_; }

    UConverter *take();
    void give_back(UConverter *converter);

  private:
    static constexpr int KEPT = 8;

    UConverter *model_ = nullptr; // never converts
    pthread_mutex_t mutex_ = PTHREAD_MUTEX_INITIALIZER;
    UConverter *free_[KEPT];
    int count_ = 0;
};

// A converter for as long as a call lasts.
class Lease {
  public:
    explicit Lease(ConverterPool &pool) : pool_(pool) {}
    Lease(const Lease &) = delete;
    Lease &operator=(const Lease &) = delete;
    ~Lease() {
        if (converter_ != nullptr) pool_.give_back(converter_);
    }

    // Null when memory is out.
    UConverter *get() {
        if (converter_ == nullptr) converter_ = pool_.take();
        return converter_;
    }

  private:
    ConverterPool &pool_;
    UConverter *converter_ = nullptr;
};

// A codeset whose characters have one to four bytes and whose texts have no states.
class Codeset {
  public:
    static constexpr int LONGEST = 4;
    enum class Kind { UTF8, SINGLE_BYTE, MULTI_BYTE };

    // False with an error number for a name that ICU does not know, and for a codeset of another kind.
    bool open(const Map::Codeset &of_map, int16_t &error);

    Kind kind() const { return kind_; }
    int shortest() const { return 1; }
    int longest() const { return longest_; }
    const char *name() const;
    const Map::Codeset &of_map() const { return *of_map_; }
    // Adds what its bytes stand for: a converter of the same name may have another table. False when memory is out.
    bool hash_mapping(Hash &hash) const;

  private:
    friend class Characters;

    bool list_single_bytes(UErrorCode &status);
    bool hash_characters(uint64_t &value) const;

    struct Code {
        UChar32 value;
        uint8_t byte;
    };

    const Map::Codeset *of_map_ = nullptr;
    Kind kind_ = Kind::UTF8;
    int longest_ = LONGEST;
    mutable ConverterPool pool_;
    UChar32 values_[256]; // of single bytes; -1: no character
    Code codes_[256];     // the other way, by their values
    int code_count_ = 0;
};

// Reads and writes the characters of a codeset during one call.
class Characters {
  public:
    explicit Characters(const Codeset &codeset) : codeset_(codeset), lease_(codeset.pool_) {}

    // The character at s, of which n bytes may be read and none behind one that cannot continue it. What is asked of a text that is
    // terminated passes any n of LONGEST or more: NUL continues no character.
    Decoded decode(const char *s, int n) {
        if (n < 1) return {0, CUT};
        const auto first = static_cast<uint8_t>(s[0]);
        if (codeset_.kind_ == Codeset::Kind::UTF8) return decode_utf8(reinterpret_cast<const uint8_t *>(s), n);
        if (codeset_.values_[first] >= 0) return {codeset_.values_[first], 1};
        return codeset_.kind_ == Codeset::Kind::SINGLE_BYTE ? Decoded{0, NO_CHARACTER} : decode_by_converter(s, n);
    }

    // The bytes of a character, at most LONGEST, or NO_CHARACTER when the codeset has it not, or NO_MEMORY.
    int encode(char *out, UChar32 value);

    // The length of the text in UTF-16, or -1 with an error number. Characters that there are none of are an error, or are read as
    // U+FFFD each.
    int to_utf16(const char *s, int length, Utf16 &out, int16_t &error);
    int to_utf16_leniently(const char *s, int length, Utf16 &out, int16_t &error);

  private:
    static Decoded decode_utf8(const uint8_t *s, int n) {
        if (s[0] < 0x80) return {s[0], 1};
        int32_t i = 0;
        UChar32 value;
        U8_NEXT(s, i, n, value);
        if (value >= 0) return {value, i};
        const bool cut = i == n && U8_COUNT_TRAIL_BYTES(s[0]) >= n;
        return {0, cut ? CUT : NO_CHARACTER};
    }
    Decoded decode_by_converter(const char *s, int n);

    const Codeset &codeset_;
    Lease lease_;
};

} // namespace qbgl::icu
