// The length of wide text.
#include "mbwc/ranges.h"

int gl_wcslen(const gl_wchar *ws) { return static_cast<int>(qbgl::find_zero(ws, INT32_MAX) - ws); }

int gl_wcsbytes(const gl_wchar *ws) { return static_cast<int>(sizeof(gl_wchar)) * (gl_wcslen(ws) + 1); }
