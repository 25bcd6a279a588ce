#include "util/lines.h"

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

bool read_line(FILE *file, char *line, uint32_t size) {
    return _gl_ext_fgets(line, size, file) != nullptr && replace_nl(line) == 0;
}

} // namespace qbgl
