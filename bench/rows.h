// One piece of work under a locale as the library and its peers do it, and what every benchmark of such rows begins with.
#pragma once

#include "ratio_reporter.h"

#include "qbgl.h"

#include <functional>
#include <locale.h>

namespace bench {

struct Row {
    std::string name;
    size_t bytes;                        // that a run goes over
    std::map<std::string, double> goals; // ratio to be reached, by peer; 0 for none
    std::map<std::string, std::function<void()>> sides;
    size_t operations = 0; // of a run; 0: they are not counted
};

// Reads the command line, and makes the build's locales those of both the library and the platform.
void start(int argc, char **argv);

// The locale of both. Throw std::runtime_error where there is none.
gl_locale *load(const char *spec);
locale_t load_platform(const char *name);

// Registers a row's sides, each run under the platform's locale, as WORK/SIDE.
void add_row(const std::string &work, const Row &row, locale_t platform, std::vector<Goal> &goals);

} // namespace bench
