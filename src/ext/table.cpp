// The table of replaceable functions and its dispatchers.
#include "ext/error.h"

int32_t _gl_ext_func = 0;

namespace {

gl_extfunc funcptr_arr[GL_EXT_SLOTS];

// The slot's function when a host has put one there, otherwise the default. A process that replaces nothing pays one load and one
// test and never reads the table.
template <class Function> Function *slot_or(unsigned id, Function *fallback) {
    if (_gl_ext_func == 0) return fallback;
    const gl_extfunc replaced = funcptr_arr[id];
    return replaced != nullptr ? reinterpret_cast<Function *>(replaced) : fallback;
}

} // namespace

void _gl_set_ext_funcptr(unsigned id, gl_extfunc func) {
    _gl_ext_func = 1;
    funcptr_arr[id] = func;
}

gl_extfunc _gl_get_ext_funcptr(unsigned id) { return funcptr_arr[id]; }

int gl_setextfunc(void *ctx, unsigned id, gl_extfunc func) {
    if (id >= GL_EXT_SLOTS) {
        // A function of the host's may keep the number where no context is needed.
        const bool replaced = _gl_ext_func != 0 && funcptr_arr[GL_EXT_ERRNO] != nullptr;
        if (ctx != nullptr || replaced) *_gl_ext_errno(ctx) = GL_EBADARG;
        return -1;
    }
    _gl_set_ext_funcptr(id, func);
    return 0;
}

char *_gl_ext_getenv(const char *name) { return slot_or(GL_EXT_GETENV, gl_ext_getenv)(name); }
int *_gl_ext_errno(void *ctx) { return slot_or(GL_EXT_ERRNO, gl_ext_errno)(ctx); }
int _gl_ext_fclose(FILE *stream) { return slot_or<int(FILE *)>(GL_EXT_FCLOSE, fclose)(stream); }
int _gl_ext_feof(FILE *stream) { return slot_or(GL_EXT_FEOF, gl_ext_feof)(stream); }
int _gl_ext_ferror(FILE *stream) { return slot_or(GL_EXT_FERROR, gl_ext_ferror)(stream); }
int _gl_ext_fgetc(FILE *stream) { return slot_or(GL_EXT_FGETC, gl_ext_fgetc)(stream); }
char *_gl_ext_fgets(char *buffer, uint32_t size, FILE *stream) { return slot_or(GL_EXT_FGETS, gl_ext_fgets)(buffer, size, stream); }
FILE *_gl_ext_fopen(const char *path, const char *mode) { return slot_or(GL_EXT_FOPEN, gl_ext_fopen)(path, mode); }
void _gl_ext_free(void *pointer) { slot_or(GL_EXT_FREE, gl_ext_free)(pointer); }
int _gl_ext_fseek(FILE *stream, int32_t offset, int whence) { return slot_or(GL_EXT_FSEEK, gl_ext_fseek)(stream, offset, whence); }
long _gl_ext_ftell(FILE *stream) { return slot_or(GL_EXT_FTELL, gl_ext_ftell)(stream); }
uint32_t _gl_ext_fwrite(const void *buffer, uint32_t size, uint32_t count, FILE *stream) {
    return slot_or(GL_EXT_FWRITE, gl_ext_fwrite)(buffer, size, count, stream);
}
int _gl_ext_getc(FILE *stream) { return slot_or(GL_EXT_GETC, gl_ext_getc)(stream); }
void *_gl_ext_malloc(uint32_t size) { return slot_or(GL_EXT_MALLOC, gl_ext_malloc)(size); }
int _gl_ext_ungetc(int byte, FILE *stream) { return slot_or(GL_EXT_UNGETC, gl_ext_ungetc)(byte, stream); }
int _gl_ext_putenv(char *assignment) { return slot_or(GL_EXT_PUTENV, gl_ext_putenv)(assignment); }
int _gl_ext_currdate(int16_t date[3]) { return slot_or(GL_EXT_CURRDATE, gl_ext_currdate)(date); }
int _gl_ext_currtime(int32_t time[12]) { return slot_or(GL_EXT_CURRTIME, gl_ext_currtime)(time); }
void *_gl_ext_calloc(uint32_t count, uint32_t size) { return slot_or(GL_EXT_CALLOC, gl_ext_calloc)(count, size); }
void *_gl_ext_realloc(void *pointer, uint32_t size) { return slot_or(GL_EXT_REALLOC, gl_ext_realloc)(pointer, size); }
