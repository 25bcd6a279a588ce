// Whole files: read, replaced and written.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>

namespace qbgl::compiler {

// All throw SystemError.
std::string read_file(const std::filesystem::path &path);

// Puts a new file in the old one's place in one step: a reader sees the one or the other, whole, and an interrupted run or a
// machine that stops leaves one of them. The old one's permissions stay. The temporary file stands beside it and ends in
// TEMPORARY_SUFFIX.
void replace_file(const std::filesystem::path &path, std::string_view content);
inline constexpr std::string_view TEMPORARY_SUFFIX = ".new";

// Writes what the user names: a regular file is replaced, also the one that a link leads to; a device or a FIFO gets the bytes.
void write_named_file(const std::filesystem::path &path, std::string_view content);

} // namespace qbgl::compiler
