// The log file, the echo, and the assertion stop. They call libc directly: they must work whatever a host has put into the table.
#include "util/log.h"

#include "util/ascii.h"

#include <atomic>
#include <stdlib.h>
#include <time.h>

int32_t pg_have_debug_file = 0;
FILE *pg_debug_file = nullptr;

namespace qbgl {

int32_t vrn_debug_initialized = 0, vrn_logging = 0, vrn_popups = 0;

} // namespace qbgl

namespace {

constexpr char LOG_FILE[] = "vrn.log";

gl_log_function host_log = nullptr;
void *host_log_data = nullptr;

// The switches are read once, by whichever threads report first; all of them find the same values.
bool is_set(int32_t &flag) { return std::atomic_ref(flag).load(std::memory_order_acquire) != 0; }
void set(int32_t &flag) { std::atomic_ref(flag).store(1, std::memory_order_release); }

void write_banner() {
    FILE *log = fopen(LOG_FILE, "a");
    if (log == nullptr) return;
    const time_t now = time(nullptr);
    char text[26] = ""; // ctime's text ends in a newline
    ctime_r(&now, text);
    fprintf(log, "----\nVRN log started %s----\n", text);
    fclose(log);
}

} // namespace

int gl_init_debug(void) {
    using qbgl::ascii::to_lower;
    const char *log = _gl_ext_getenv("VRNLOG");
    if (log != nullptr && to_lower(log[0]) == 'o' && to_lower(log[1]) == 'n') {
        set(qbgl::vrn_logging);
        write_banner();
    }
    // Unlike for the log, the second letter counts as it is: hosts set ON where they want no echo.
    const char *echo = _gl_ext_getenv("VRNDEBUG");
    if (echo != nullptr && to_lower(echo[0]) == 'o' && echo[1] == 'n') set(qbgl::vrn_popups);
    return 0;
}

void gl_message(const char *text) {
    if (!is_set(qbgl::vrn_debug_initialized)) {
        gl_init_debug();
        set(qbgl::vrn_debug_initialized);
    }
    if (is_set(qbgl::vrn_logging)) {
        if (FILE *log = fopen(LOG_FILE, "a")) {
            fprintf(log, "%s\n", text);
            fclose(log);
        }
    }
    if (is_set(qbgl::vrn_popups)) printf("%s: %s\n", "VRN", text);
    if (host_log != nullptr) host_log(text, host_log_data);
}

void gl_set_log(gl_log_function function, void *data) {
    host_log = function;
    host_log_data = data;
}

void gl_assert_failed(const char *file, long line) {
    fprintf(stderr, "Assert in %s at line %ld failed.\n", file, line);
    exit(1);
}

void _gl_exit_utilities(void) {
    if (pg_have_debug_file == 0) return;
    if (pg_debug_file != nullptr) _gl_ext_fclose(pg_debug_file);
    pg_debug_file = nullptr;
    pg_have_debug_file = 0;
}
