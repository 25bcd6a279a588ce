// Telling whole lines from cut ones.
#include "util/log.h"

#include <string.h>

namespace qbgl {

int check_nl(const char *line) {
    const size_t length = strlen(line);
    return length > 0 && line[length - 1] == '\n' ? 0 : 1;
}

int replace_nl(char *line) {
    if (check_nl(line) != 0) return 1;
    line[strlen(line) - 1] = '\0';
    return 0;
}

} // namespace qbgl
