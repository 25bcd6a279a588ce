// What serves an empty slot: libc. fclose has no wrapper, the table calls it directly.
#include "qbgl.h"

#include <stdlib.h>
#include <time.h>

namespace {

tm local_time_now() {
    const time_t now = time(nullptr);
    return *localtime(&now);
}

} // namespace

char *gl_ext_getenv(const char *name) { return getenv(name); }
int *gl_ext_errno(void *ctx) { return static_cast<int *>(ctx); }
int gl_ext_feof(FILE *stream) { return feof(stream); }
int gl_ext_ferror(FILE *stream) { return ferror(stream); }
int gl_ext_fgetc(FILE *stream) { return fgetc(stream); }
char *gl_ext_fgets(char *buffer, uint32_t size, FILE *stream) { return fgets(buffer, static_cast<int>(size), stream); }
FILE *gl_ext_fopen(const char *path, const char *mode) { return fopen(path, mode); }
void gl_ext_free(void *pointer) { free(pointer); }
int gl_ext_fseek(FILE *stream, int32_t offset, int whence) { return fseek(stream, offset, whence); }
long gl_ext_ftell(FILE *stream) { return ftell(stream); }
uint32_t gl_ext_fwrite(const void *buffer, uint32_t size, uint32_t count, FILE *stream) {
    return static_cast<uint32_t>(fwrite(buffer, size, count, stream));
}
int gl_ext_getc(FILE *stream) { return getc(stream); }
void *gl_ext_malloc(uint32_t size) { return malloc(size); }
int gl_ext_ungetc(int byte, FILE *stream) { return ungetc(byte, stream); }
int gl_ext_putenv(char *assignment) { return putenv(assignment); }
void *gl_ext_calloc(uint32_t count, uint32_t size) { return calloc(count, size); }
void *gl_ext_realloc(void *pointer, uint32_t size) { return realloc(pointer, size); }

int gl_ext_currdate(int16_t date[3]) {
    const tm now = local_time_now();
    date[0] = static_cast<int16_t>(now.tm_mon + 1);
    date[1] = static_cast<int16_t>(now.tm_mday);
    date[2] = static_cast<int16_t>(now.tm_year + 1900);
    return 0;
}

int gl_ext_currtime(int32_t time[12]) {
    const tm now = local_time_now();
    const int32_t words[12] = {0,           now.tm_sec,  now.tm_min,  now.tm_hour,  now.tm_mday, now.tm_mon,
                               now.tm_year, now.tm_wday, now.tm_yday, now.tm_isdst, 0,           0};
    for (int i = 0; i < 12; ++i) time[i] = words[i];
    return 0;
}
