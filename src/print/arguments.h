// The arguments of a call, one after the other or by their positions.
#pragma once

#include "print/format.h"
#include "util/owned.h"

#include <stdarg.h>

namespace qbgl {

enum class Kind : uint8_t { NONE, INT, LONG, LONG_LONG, DOUBLE, LONG_DOUBLE, POINTER };

union Value {
    long long integer;
    double real;
    long double long_real;
    void *pointer;
};

// A va_list by reference, whatever it is an array of.
struct ArgumentList {
    va_list list;

    Value next(Kind kind) {
        switch (kind) {
        case Kind::INT: return {.integer = va_arg(list, int)};
        case Kind::DOUBLE: return {.real = va_arg(list, double)};
        case Kind::LONG: return {.integer = va_arg(list, long)};
        case Kind::LONG_DOUBLE: return {.long_real = va_arg(list, long double)};
        case Kind::LONG_LONG: return {.integer = va_arg(list, long long)};
        default: return {.pointer = va_arg(list, void *)};
        }
    }
};

// By position: the kinds are collected from the whole format first, then the values are taken in their order.
class PositionedArguments {
  public:
    // As many as the platform has. Those of most formats need no memory.
    static constexpr int MOST = 4096, FEW = 32;

    // 0, or the number of what is wrong: a position that is none, or wanted as two kinds.
    int want(int position, Kind kind) {
        if (position < 1 || position > MOST) return GL_EINVAL;
        if (position > room_)
            if (const int error = grow(position); error != 0) return error;
        Kind &known = kinds_[position - 1];
        if (known != Kind::NONE && known != kind) return GL_EINVAL;
        known = kind;
        if (position > count_) count_ = position;
        return 0;
    }

    // What no conversion names has no kind, so that those behind it cannot be found.
    int take(ArgumentList &arguments) {
        for (int i = 0; i < count_; ++i)
            if (kinds_[i] == Kind::NONE) return GL_EINVAL;
        for (int i = 0; i < count_; ++i) values_[i] = arguments.next(kinds_[i]);
        return 0;
    }

    Value at(int position) const { return values_[position - 1]; }

  private:
    int grow(int position) {
        const int room = position < MOST / 4 ? position * 4 : MOST;
        Owned<Kind> kinds = Owned<Kind>::allocate(static_cast<uint32_t>(room));
        Owned<Value> values = Owned<Value>::allocate(static_cast<uint32_t>(room));
        if (!kinds || !values) return GL_ENOMEM;
        for (int i = 0; i < room; ++i) kinds[static_cast<uint32_t>(i)] = i < count_ ? kinds_[i] : Kind::NONE;
        more_kinds_ = std::move(kinds);
        more_values_ = std::move(values);
        kinds_ = more_kinds_.get();
        values_ = more_values_.get();
        room_ = room;
        return 0;
    }

    Kind few_kinds_[FEW] = {}, *kinds_ = few_kinds_;
    Value few_values_[FEW], *values_ = few_values_;
    Owned<Kind> more_kinds_;
    Owned<Value> more_values_;
    int room_ = FEW, count_ = 0;
};

} // namespace qbgl
