// What the tests' extension library saw. dlsym("extension_record") in it finds a function that returns its record; the record is as
// fresh as the library's last loading.
#pragma once

#include <cstdint>
#include <cstdio>

struct ExtensionRecord {
    char calls[1024]; // the names of the calls, and paths, each with a blank behind it

    void *(*malloc)(uint32_t);
    void *(*calloc)(uint32_t, uint32_t);
    void *(*realloc)(void *, uint32_t);
    void (*free)(void *);
    int (*fgetc)(FILE *);
    int (*fseek)(FILE *, int32_t, int);
    long (*ftell)(FILE *);
    int (*ferror)(FILE *);
    int (*feof)(FILE *);
    void (*print)(const char *);
    int message_level, message_sublevel;
};
