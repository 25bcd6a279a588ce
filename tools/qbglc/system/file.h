// Whole files: read and replaced.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>

namespace qbgl::compiler {

// Throws SystemError.
std::string read_file(const std::filesystem::path &path);

// Puts a new file in the old one's place in one step: a reader sees the one or the other, and an interrupted run leaves the old
// one. The temporary file stands beside it and ends in TEMPORARY_SUFFIX. Throws SystemError.
void replace_file(const std::filesystem::path &path, std::string_view content);
inline constexpr std::string_view TEMPORARY_SUFFIX = ".new";

} // namespace qbgl::compiler
