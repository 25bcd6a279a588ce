// All memory of the library passes through this pair.
#include "qbgl.h"

void *_gl_alloc_ptr(uint32_t size) { return size == 0 ? nullptr : _gl_ext_malloc(size); }

void _gl_free_ptr(void *pointer) {
    if (pointer != nullptr) _gl_ext_free(pointer);
}

void gl_destroystring(void *string) { _gl_free_ptr(string); }
