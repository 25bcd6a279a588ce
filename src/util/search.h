// Finding and opening data files.
#pragma once

#include "qbgl.h"

#include <optional>

namespace qbgl {

// Stands for the directory separator in relative names that the library builds.
inline constexpr char PATH_COOKIE = '\xFF';

int has_path_cookie(const char *name);
// 1, with GL_ENOFILE and a message, when QUORBANEDIR is longer than 256 characters; otherwise 0.
int chk_quorbanedir(void *ctx);
// The directory above vrn/; never null.
const char *installation_directory();
// Whether a path is of a FIFO, a device or a socket: none is data, and opening a FIFO waits for its writer, for good perhaps.
// What is no file of the system's is for the open function to know, as a host's may have files of its own.
bool is_special_file(const char *path);
// Opens a file to read it, unless it is a special one.
FILE *open_to_read(const char *path, FILE *(*open)(const char *path, const char *mode));
FILE *open_file(void *ctx, const char *path, const gl_file_functions *set);
// As open_file, with the two failures told apart: nothing when there is no memory for the message, which is to end a search.
std::optional<FILE *> try_open(void *ctx, const char *path, const gl_file_functions &set);

} // namespace qbgl
