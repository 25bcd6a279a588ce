// Deciding on the extension, starting it and giving it up.
#include "ext/error.h"
#include "qbnxdl/entry_points.h"
#include "qbnxdl/libraries.h"
#include "qbnxdl/text.h"

#include <pthread.h>
#include <stdlib.h>

int32_t glu_capable = 0;
int32_t unicode_collate = 0;

namespace qbgl {
namespace {

constexpr int DATA_NAME_SIZE = 32;
constexpr int EVERY_MESSAGE = 65535, MESSAGE_SUBLEVEL = 1;

constexpr bool is_yes(long value) { return value == 1 || value == 2; }

long wish_of_environment() {
    const char *const text = _gl_get_env_var("GL_USEGLU");
    return text != nullptr ? strtol(text, nullptr, 10) : 0;
}

// Reports why the extension cannot be started.
int fail(void *ctx, const char *message, int error) {
    gl_message(message);
    set_error(ctx, error);
    return -1;
}

// The path of a file in the installation's etc directory, null when it is not there or memory is out. A success leaves the error
// number as it was.
Owned<char> find_data_file(void *ctx, const char *name, int &error) {
    const int older = get_error(ctx);
    set_error(ctx, 0);
    const Owned<char> directory(gl_path_search_rpath(nullptr, ctx, name, "etc", nullptr));
    error = get_error(ctx) == GL_ENOMEM ? GL_ENOMEM : GL_ENOFILE;
    set_error(ctx, older);
    if (!directory) return Owned<char>();

    error = GL_ENOMEM;
    return join({directory.get(), "/", name});
}

void hand_over_functions() {
    fn_glu_setMallocFunc(_gl_ext_malloc);
    fn_glu_setCallocFunc(_gl_ext_calloc);
    fn_glu_setReallocFunc(_gl_ext_realloc);
    fn_glu_setFreeFunc(_gl_ext_free);
    fn_glu_setFgetcFunc(_gl_ext_fgetc);
    fn_glu_setFseekFunc(_gl_ext_fseek);
    fn_glu_setFtellFunc(_gl_ext_ftell);
    fn_glu_setFerrorFunc(_gl_ext_ferror);
    fn_glu_setFeofFunc(_gl_ext_feof);
}

int load_data(void *ctx) {
    if (glu_cudata_t != nullptr) return 0;
    char name[DATA_NAME_SIZE + 1] = {};
    if (fn_glu_getIcuDataFileName(name, DATA_NAME_SIZE) != 0) {
        return fail(ctx, "gl_init_glu: End icudata not loaded, could not get icudata file name", GL_ENOFILE);
    }
    int status = 0;
    const Owned<char> path = find_data_file(ctx, name, status);
    if (!path) return fail(ctx, "gl_init_glu: End icudata not loaded, icudata file not found", status);

    status = 0;
    void *const data = fn_glu_loadIcuData(path.get(), 0, &status);
    if (status > 0) return fail(ctx, "gl_init_glu: End icudata not loaded", status);
    glu_cudata_t = data;
    return 0;
}

int load_map(void *ctx) {
    int status = 0;
    const Owned<char> path = find_data_file(ctx, "locmap", status);
    if (!path) return fail(ctx, "gl_init_glu: End pMap not loaded locmap file not found", status);

    status = 0;
    void *const map = fn_glu_loadMapData(path.get(), &status);
    if (status > 0) return fail(ctx, "gl_init_glu: End pMap not loaded", status);
    __atomic_store_n(&pMap, map, __ATOMIC_RELEASE);
    return 0;
}

int start_extension(void *ctx) {
    hand_over_functions();
    gl_message("gl_init_glu: Loading ICU data:");
    fn_glu_setPrintMessageFunc(gl_message);
    fn_glu_setMessageLevel(EVERY_MESSAGE);
    fn_glu_setMessageSubLevel(MESSAGE_SUBLEVEL);
    if (load_data(ctx) != 0) return -1;
    gl_message("gl_init_glu: Loading Map data:");
    return load_map(ctx);
}

struct Wish {
    bool wanted, tolerant;
};

void forgo_extension() {
    if (unicode_collate != 0) unicode_collate = 0; // threads that open something together all come here
}

// A decision against the extension is taken anew at every call, so that the environment can still change it.
Wish decide() {
    gl_message("gl_init_glu_dll: Begin");
    if (!is_yes(glu_capable)) {
        forgo_extension();
        gl_message("gl_init_glu_dll: No glu_capable");
        return {};
    }
    gl_message("gl_init_glu_dll: glu_capable");
    const long wish = wish_of_environment();
    if (!is_yes(wish)) {
        forgo_extension();
        gl_message("gl_init_glu_dll: End");
        return {};
    }
    return {true, glu_capable == 2 && wish == 2};
}

int load(void *ctx, bool tolerant) {
    unicode_collate = 1;
    gl_message("gl_init_glu_dll: Initializing");
    switch (load_libraries(ctx, tolerant)) {
    case Loading::FAILED: return -1;
    case Loading::TOLERATED:
        glu_capable = 0;
        unicode_collate = 0;
        gl_message("gl_init_glu_dll: Error Loading DLLs allowed");
        return 0;
    case Loading::DONE: break;
    }
    gl_message("gl_init_glu_dll: End");
    return 0;
}

int load_and_start(void *ctx, bool tolerant) {
    if (pMap != nullptr) return 0;
    if (load(ctx, tolerant) != 0) {
        gl_message("gl_init_glu: loading DLLs error");
        return -1;
    }
    return unicode_collate == 1 ? start_extension(ctx) : 0;
}

pthread_mutex_t one_at_a_time = PTHREAD_MUTEX_INITIALIZER;

// An attempt at the extension. Threads that come to it while one of them is at it wait, and its outcome is theirs.
class Attempt {
  public:
    // `work` returns 0, or -1 with the context's error number.
    template <class Work> int make(void *ctx, Work work) {
        const unsigned begun = __atomic_load_n(&made_, __ATOMIC_ACQUIRE);
        pthread_mutex_lock(&one_at_a_time);
        if (made_ == begun) {
            result_ = work();
            error_ = result_ != 0 && ctx != nullptr ? get_error(ctx) : GL_ENOFILE;
            __atomic_store_n(&made_, begun + 1, __ATOMIC_RELEASE);
        } else if (result_ != 0) {
            set_error(ctx, error_);
        }
        const int result = result_;
        pthread_mutex_unlock(&one_at_a_time);
        return result;
    }

  private:
    unsigned made_ = 0;
    int result_ = 0, error_ = 0;
};

} // namespace
} // namespace qbgl

void gl_useglu(int value) {
    gl_message("gl_useglu: Begin");
    glu_capable = value;
    gl_message("gl_useglu: exit");
}

int gl_init_glu_dll(void *ctx) {
    const qbgl::Wish wish = qbgl::decide();
    static qbgl::Attempt attempt;
    return wish.wanted ? attempt.make(ctx, [&] { return qbgl::load(ctx, wish.tolerant); }) : 0;
}

int gl_init_glu(void *ctx) {
    gl_message("gl_init_glu: Begin");
    if (__atomic_load_n(&pMap, __ATOMIC_ACQUIRE) != nullptr) return 0;
    const qbgl::Wish wish = qbgl::decide();
    static qbgl::Attempt attempt;
    if (wish.wanted && attempt.make(ctx, [&] { return qbgl::load_and_start(ctx, wish.tolerant); }) != 0) return -1;
    gl_message("gl_init_glu: End");
    return 0;
}

int gl_unload_glu(void) {
    if (pMap == nullptr) return 0;
    unicode_collate = 0;
    qbgl::unload_data();
    return qbgl::close_libraries();
}
