// Small conversions of every shape that the engine knows.
#pragma once

#include "conversion_object.h"

#include "cvlib/record.h"

#include <algorithm>
#include <string_view>
#include <utility>
#include <vector>

namespace qbgl_test {

using namespace std::string_literals;

inline constexpr unsigned M = qbgl::RECORD_MAPPED, SUBSTITUTED = M | qbgl::RECORD_SUBSTITUTED,
                          TERMINATOR = M | qbgl::RECORD_TERMINATOR, SHIFTED = M | qbgl::RECORD_TARGET_SHIFTED,
                          TOGGLES = M | qbgl::RECORD_TOGGLES_SOURCE;

inline std::string one(int byte) { return std::string(1, char(byte)); }
inline std::string some(int byte) { return std::string(size_t(1 + byte % 3), char(byte ^ 0x5A)); }
inline std::string two(int byte) { return {char(byte >> 4), char(byte)}; }
inline std::string four(int byte) { return {0, 1, char(byte >> 4), char(byte)}; }

// One byte codes for all of 1 to 255 but a hole, and the terminator.
inline Mapping bytes_by(auto target_of) {
    Mapping mapping{{"\0"s, {TERMINATOR, target_of(0)}}};
    for (int byte = 1; byte < 256; ++byte)
        if (byte % 64 != 63) mapping[one(byte)] = {byte % 61 == 60 ? SUBSTITUTED : M, target_of(byte)};
    return mapping;
}

// ASCII as it is but for some, and characters of two to four bytes.
inline Mapping mixed(std::string_view exceptions) {
    Mapping mapping{{"\0"s, {TERMINATOR, "\0"s}}};
    for (int byte = 1; byte < 0x80; ++byte) mapping[one(byte)] = {M, one(byte)};
    for (const char exception : exceptions) mapping[one(exception)] = {M, "\xC2" + one(exception)};
    mapping["~"] = {SUBSTITUTED, "-"};
    for (int last = 0xA1; last < 0xC0; ++last) {
        const std::string byte = one(last);
        mapping[byte] = {M, "\xE3\x81" + byte};
        mapping["\x8E" + byte] = last % 16 == 9 ? Mapped{0, ""} : Mapped{M, byte + byte};
        mapping["\x8F\xA1" + byte] = {M, byte};
        mapping["\x8F\xA2" + byte] = {M, "\xF0\x9F\x98" + byte};
        mapping["\x90\x80\x80" + byte] = {M, "\xEF\xBF" + byte};
    }
    return mapping;
}

inline Mapping with_child_in_the_root() { // although the object says that all characters have one byte
    Mapping mapping = bytes_by(one);
    mapping.erase("\xF0");
    mapping["\xF0\x41"] = {M, "!"};
    return mapping;
}

inline Mapping units(size_t size) {
    Mapping mapping{{std::string(size, '\0'), {TERMINATOR, "\0"s}}};
    for (int code = 1; code < 300; ++code) {
        const std::string key{0, char(code % 3 == 0), char(code >> 8), char(code)};
        mapping[key.substr(4 - size)] = code % 50 == 0 ? Mapped{0, ""} : Mapped{M, std::string(size_t(1 + code % 3), char(code))};
    }
    return mapping;
}

inline const std::pair<const char *, ConversionObject> STATELESS[] = {
    {"multibyte", {mixed("\\"), {1, 4, 1, 4}}},
    {"multibyte, many exceptions", {mixed("\\#$"), {1, 4, 1, 4}}},
    {"multibyte, nothing alike", {bytes_by(some), {1, 1, 1, 3}}},
    {"single-byte", {bytes_by([](int byte) { return one(byte < 128 ? byte : byte ^ 0x15); })}},
    {"single-byte, nothing alike", {bytes_by([](int byte) { return one(byte ^ 0x5A); })}},
    {"single-byte, child in the root", {with_child_in_the_root()}},
    {"to two-byte units", {bytes_by(two), {1, 1, 2, 2}}},
    {"to four-byte units", {bytes_by(four), {1, 1, 4, 4}}},
    {"from two-byte units", {units(2), {2, 2, 1, 3}}},
    {"from four-byte units", {units(4), {4, 4, 1, 3}}},
};

inline const Mapping SHIFTING_TARGET{{"\0"s, {TERMINATOR, "\0"s}},  {"a", {M, "a"}},
                                     {"\x81\x40", {SHIFTED, "KA"}}, {"\x81\x41", {SHIFTED | SUBSTITUTED, "KI"}},
                                     {"\x81\x42", {0, ""}},         {"\x81\x43", {SHIFTED | TERMINATOR, "NU"}}};
inline const Mapping INITIAL_SOURCE{
    {"\0"s, {TERMINATOR, "\0"s}}, {"a", {M, "a"}}, {"z", {M, "z"}}, {"\x0E", {TOGGLES, ""}}, {"\x0F", {M, ""}}};
inline const Mapping SHIFTED_SOURCE{{"\x0F", {TOGGLES, ""}}, {"\x0E", {M, ""}}, {"KA", {M, "\x81\x40"}}, {"KI", {0, ""}}};
inline const Mapping INITIAL_OF_BOTH{{"a", {M, "a"}}, {"\x0E", {TOGGLES | SHIFTED, ""}}};
inline const Mapping SHIFTED_OF_BOTH{{"\x0F", {TOGGLES, ""}}, {"K", {SHIFTED, "KA"}}, {"x", {M, "x"}}};

inline const ConversionObject TO_SHIFTED{SHIFTING_TARGET, {1, 2, 1, 2}, {}, false, true, "10e21b2800"};
inline const ConversionObject FROM_SHIFTED{INITIAL_SOURCE, {1, 2, 1, 2}, SHIFTED_SOURCE, true, false};
inline const ConversionObject BOTH_SHIFTED{INITIAL_OF_BOTH, {1, 1, 1, 2}, SHIFTED_OF_BOTH, true, true, "10e21b2800"};

// All of them, each with a text of about `size` bytes that it converts: the first characters, some of all, and the first again.
inline std::vector<std::pair<ConversionObject, std::string>> shapes_with_texts(size_t size) {
    std::vector<std::pair<ConversionObject, std::string>> shapes = {
        {TO_SHIFTED, "a\x81\x40\x81\x41\x81\x40" + one('a')}, {FROM_SHIFTED, "a\x0EKAKA\x0Fz"}, {BOTH_SHIFTED, "a\x0EKKx"}};
    for (const auto &[name, shape] : STATELESS) {
        std::vector<std::string> keys;
        for (const auto &[key, mapped] : shape.main)
            if (mapped.first != 0 && mapped.first != TERMINATOR) keys.push_back(key);
        std::string text, first;
        for (size_t i = 0; first.size() < size / 3; ++i) first += keys[i];
        for (size_t i = 0; i < keys.size(); i += keys.size() * 8 / size + 1) text += keys[i];
        text = first + text + first;
        if (shape.lengths.source_min > 1) std::reverse(text.begin(), text.end()); // little-endian units
        shapes.emplace_back(shape, text);
    }
    return shapes;
}

} // namespace qbgl_test
