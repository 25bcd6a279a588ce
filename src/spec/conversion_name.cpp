// File names of conversion objects, and the directory in front of a file name.
#include "spec/text.h"

namespace qbgl {

char *pathcat_mark(char *buffer, const char *directory) {
    Writer out(buffer);
    if (directory != nullptr && *directory != '\0') {
        out.put(directory);
        out.put(PATH_COOKIE);
    }
    out.terminate();
    return out.position();
}

} // namespace qbgl

using namespace qbgl;

void gl_cs_nums2cv_fname(void *, uint16_t from_cs, uint16_t to_cs, char *buffer, const char *directory) {
    Writer out(pathcat_mark(buffer, directory));
    out.put_hex4(from_cs);
    out.put_hex4(to_cs);
    out.put(".cvo");
    out.terminate();
}
