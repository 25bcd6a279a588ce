#include "qbnxdl/libraries.h"

#include "ext/error.h"
#include "qbnxdl/entry_points.h"
#include "qbnxdl/registry.h"
#include "qbnxdl/served.h"

#include <sys/stat.h>

qbnx_library handleglu[qbgl::MAX_LIBRARIES];
void *pMap = nullptr;
void *glu_cudata_t = nullptr;

namespace qbgl {
namespace {

void *entry_source = nullptr; // the loader handle that the entry points come from

// Takes the libraries and texts of an earlier attempt out of the records and releases them at the end of its scope. They go when
// those of a new attempt are there, so that a library that both name is not unloaded in between and what it holds for us stays
// valid.
class EarlierLibraries {
  public:
    EarlierLibraries() { std::swap(records_, handleglu); }
    EarlierLibraries(const EarlierLibraries &) = delete;
    EarlierLibraries &operator=(const EarlierLibraries &) = delete;
    ~EarlierLibraries() {
        for (qbnx_library &record : records_) {
            if (record.handle != nullptr) qbnx_dlclose(&record);
            _gl_free_ptr(record.path);
            _gl_free_ptr(record.error_text);
        }
    }

  private:
    qbnx_library records_[MAX_LIBRARIES] = {};
};

struct LibraryPath {
    LibraryPath() = default;
    LibraryPath(const LibraryPath &) = delete;
    LibraryPath &operator=(const LibraryPath &) = delete;
    ~LibraryPath() { _gl_free_ptr(text); }

    char *text = nullptr;
    uint32_t capacity = 0;
};

bool exists(const char *path) {
    struct stat status = {};
    return stat(path, &status) == 0;
}

Loading out_of_memory(void *ctx) {
    gl_message("gl_init_glu_dll: memory allocation fails");
    set_error(ctx, GL_ENOMEM);
    return Loading::FAILED;
}

Loading load_library(void *ctx, qbnx_library &record, const char *path, bool tolerant) {
    gl_message("gl_init_glu_dll: Loading library:");
    gl_message(path);
    if (!is_special_file(path)) {
        if (qbnx_dlopen(&record, path, DEFAULT_OPEN_FLAGS) == 0) return Loading::DONE;
        if (record.path == nullptr) return out_of_memory(ctx);
    }

    gl_message("LoadLibraries: Error Loading SharedObject file");
    gl_message(path);
    gl_message(record.error_text != nullptr ? record.error_text : "");
    if (tolerant && exists(path)) return Loading::TOLERATED;
    set_error(ctx, GL_ENOFILE);
    return Loading::FAILED;
}

// Loads the libraries that the list names into the records from the first one on. Lines beyond the records are not looked at.
Loading load_listed(void *ctx, FILE *list, const char *install_dir, bool tolerant, uint32_t &count) {
    LibraryPath path;
    for (count = 0; count < MAX_LIBRARIES; ++count) {
        if (get_dl_name(list, install_dir, &path.text, &path.capacity) != 0) return out_of_memory(ctx);
        if (path.text == nullptr) break;
        const Loading loading = load_library(ctx, handleglu[count], path.text, tolerant);
        if (loading != Loading::DONE) return loading;
    }
    return Loading::DONE;
}

void forget_entry_points() {
    clear_entry_points();
    entry_source = nullptr;
}

// The major version of the contract that the extension was built by.
int contract_version() { return fn_glu_extension_version != nullptr ? fn_glu_extension_version() / 100 : 0; }

Loading resolve(void *ctx, qbnx_library &source) {
    if (source.handle != entry_source) unload_data();
    entry_source = source.handle;
    gl_message("gl_init_glu_dll: Loading symbols:");
    const bool complete = resolve_entry_points(&source) == 0;
    if (complete && contract_version() <= QBGL_EXTENSION_VERSION_MAJOR) return Loading::DONE;
    if (complete) forget_entry_points(); // what they take is not known here
    gl_message(complete ? "gl_init_glu_dll: End extension of a newer version" : "gl_init_glu_dll: End icudata qbnx_dlsym error");
    set_error(ctx, GL_ENOFILE);
    return Loading::FAILED;
}

} // namespace

Loading load_libraries(void *ctx, bool tolerant) {
    const char *install_dir = _gl_get_env_var("QUORBANEDIR");
    if (install_dir == nullptr) {
        set_error(ctx, GL_ENOFILE);
        return Loading::FAILED;
    }
    const Owned<char> list_path = registry_path(install_dir);
    if (!list_path) return out_of_memory(ctx);

    RegistryFile list(list_path.get());
    if (!list) {
        gl_message("gl_init_glu_dll: cannot open dllregistry");
        set_error(ctx, GL_ENOFILE);
        return Loading::FAILED;
    }
    const EarlierLibraries earlier;
    uint32_t count = 0;
    const Loading loading = load_listed(ctx, list.get(), install_dir, tolerant, count);
    list.close();
    if (loading != Loading::DONE) {
        unload_data();
        forget_entry_points();
        return loading;
    }
    return resolve(ctx, handleglu[count > 0 ? count - 1 : 0]);
}

int close_libraries() {
    forget_entry_points();
    for (qbnx_library &record : handleglu) {
        if (record.handle == nullptr) break;
        if (qbnx_dlclose(&record) != 0) {
            const char *const reason = record.error_text != nullptr ? record.error_text : "";
            fprintf(stderr, "%s\n", "UnLoadLibraries: Error UnLoading SharedObject file");
            fprintf(stderr, "%s\n", record.path);
            fprintf(stderr, "%s\n", reason);
            return -1;
        }
        _gl_free_ptr(record.error_text);
        record = qbnx_library{};
    }
    return 0;
}

void unload_data() {
    ++extension_load;
    void *const data = std::exchange(glu_cudata_t, nullptr);
    if (data != nullptr && fn_glu_unloadIcuData != nullptr) fn_glu_unloadIcuData(data);
    void *const map = std::exchange(pMap, nullptr);
    if (map != nullptr && fn_glu_unloadMapData != nullptr) fn_glu_unloadMapData(map);
}

} // namespace qbgl
