// Finding a data file: along GL_PATH, or else in the installation tree.
#include "util/search.h"

#include "ext/error.h"
#include "util/scratch.h"

#include <string.h>

namespace {

constexpr char TREE[] = "/vrn/";

// One search. Directories are tried until the file opens or memory is out.
class Search {
  public:
    Search(void *ctx, const char *name, char **rpath, const gl_file_functions &set)
        : ctx_(ctx), name_(name), rpath_(rpath), set_(set), error_before_(qbgl::get_error(ctx)) {}

    FILE *along(const char *directories) {
        const qbgl::Scratch path(set_, uint64_t{strlen(directories)} + 1 + strlen(name_) + 1);
        if (path.text() == nullptr) return out_of_memory();
        qbgl::set_error(ctx_, GL_ENOFILE); // the answer when all items are empty
        for (const char *item = directories; *item != '\0';) {
            const size_t length = strcspn(item, ":");
            memcpy(path.text(), item, length);
            if (length > 0 && ends_in(path.text(), length)) break;
            item += item[length] == ':' ? length + 1 : length;
        }
        return stream_;
    }

    FILE *in_tree(const char *base, const char *subdirectory, const char *version) {
        if (version == nullptr) version = "";
        const uint64_t directory_size = uint64_t{strlen(base)} + strlen(TREE) + strlen(subdirectory) + strlen(version) + 1;
        const qbgl::Scratch path(set_, directory_size + strlen(name_) + 1);
        if (path.text() == nullptr) return out_of_memory();
        // Both directories are built from one reading of the base: the first message may ask a host's getenv for other variables.
        const char *const end = stpcpy(stpcpy(stpcpy(path.text(), base), TREE), subdirectory);
        const size_t plain_length = static_cast<size_t>(end - path.text());
        const size_t version_length = strlen(version);
        memcpy(path.text() + plain_length, version, version_length);
        if (version_length == 0 || !ends_in(path.text(), plain_length + version_length)) ends_in(path.text(), plain_length);
        return stream_;
    }

  private:
    // Tries the directory that is the beginning of `path`, which has room for the rest. True when the search is over.
    bool ends_in(char *path, size_t directory_length) {
        qbgl::set_error(ctx_, error_before_); // an earlier failure does not outlive a success
        path[directory_length] = '\0';
        if (gl_fix_rpath(ctx_, rpath_, path, &set_) != 0) return true;
        path[directory_length] = '/';
        strcpy(path + directory_length + 1, name_);
        const std::optional<FILE *> attempt = qbgl::try_open(ctx_, path, set_);
        stream_ = attempt.value_or(nullptr);
        return !attempt || stream_ != nullptr;
    }

    FILE *out_of_memory() {
        qbgl::set_error(ctx_, GL_ENOMEM);
        return nullptr;
    }

    void *ctx_;
    const char *name_;
    char **rpath_;
    const gl_file_functions &set_;
    int error_before_;
    FILE *stream_ = nullptr;
};

void free_directory(char *directory, const gl_file_functions &set) {
    if (directory != nullptr) set.free(directory);
}

FILE *stream_of_search(void *ctx, const char *name, const char *subdirectory, const char *version, const gl_file_functions &set) {
    char *rpath = nullptr;
    FILE *const stream = gl_path_search1(ctx, name, &rpath, subdirectory, version, &set);
    free_directory(rpath, set);
    return stream;
}

char *directory_of_search(char *rpath, void *ctx, const char *name, const char *subdirectory, const char *version,
                          const gl_file_functions &set) {
    FILE *const stream = gl_path_search1(ctx, name, &rpath, subdirectory, version, &set);
    if (stream == nullptr) {
        free_directory(rpath, set);
        return nullptr;
    }
    // What opened the stream closes it: a name with a cookie opens through the table in every form.
    (qbgl::has_path_cookie(name) != 0 ? gl_ext_functions : set).close(stream);
    return rpath;
}

} // namespace

int gl_fix_rpath(void *ctx, char **rpath, const char *directory, const gl_file_functions *set) {
    free_directory(*rpath, *set);
    const size_t size = strlen(directory) + 1;
    *rpath = size <= UINT32_MAX ? static_cast<char *>(set->alloc(static_cast<uint32_t>(size))) : nullptr;
    if (*rpath == nullptr) {
        qbgl::set_error(ctx, GL_ENOMEM);
        return 1;
    }
    memcpy(*rpath, directory, size);
    return 0;
}

FILE *gl_path_search1(void *ctx, const char *name, char **rpath, const char *subdirectory, const char *version,
                      const gl_file_functions *set) {
    if (qbgl::chk_quorbanedir(ctx) != 0) return nullptr;
    if (qbgl::has_path_cookie(name) != 0) return gl_open_file(ctx, name);
    if (*name == '/') return gl_fix_rpath(ctx, rpath, "/", set) == 0 ? qbgl::open_file(ctx, name, set) : nullptr;

    Search search(ctx, name, rpath, *set);
    if (const char *directories = gl_get_gl_path()) return search.along(directories);
    return search.in_tree(qbgl::installation_directory(), subdirectory, version);
}

FILE *gl_path_search(void *ctx, const char *name, const char *subdirectory, const char *version) {
    return stream_of_search(ctx, name, subdirectory, version, gl_ext_functions);
}

FILE *gl_path_search_no_ext(void *ctx, const char *name, const char *subdirectory, const char *version) {
    return stream_of_search(ctx, name, subdirectory, version, gl_reg_functions);
}

char *gl_path_search_rpath(char *initial_rpath, void *ctx, const char *name, const char *subdirectory, const char *version) {
    return directory_of_search(initial_rpath, ctx, name, subdirectory, version, gl_ext_functions);
}

char *gl_path_search_no_ext_rpath(char *initial_rpath, void *ctx, const char *name, const char *subdirectory, const char *version) {
    return directory_of_search(initial_rpath, ctx, name, subdirectory, version, gl_reg_functions);
}
