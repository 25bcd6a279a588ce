// Classes by name.
#include "ctype/class_name.h"

#include <string.h>

namespace {

struct StandardClass {
    const char *name;
    unsigned mask;
};

constexpr StandardClass STANDARD_CLASSES[] = {
    {"alpha", GL_CLASS_ALPHA},   {"lower", GL_CLASS_LOWER}, {"upper", GL_CLASS_UPPER}, {"digit", GL_CLASS_DIGIT},
    {"xdigit", GL_CLASS_XDIGIT}, {"alnum", GL_CLASS_ALNUM}, {"blank", GL_CLASS_BLANK}, {"space", GL_CLASS_SPACE},
    {"punct", GL_CLASS_PUNCT},   {"graph", GL_CLASS_GRAPH}, {"print", GL_CLASS_PRINT}, {"cntrl", GL_CLASS_CNTRL},
};

constexpr unsigned FIRST_OWN_CLASS = 2048;

} // namespace

unsigned qbgl::own_class(const gl_ctype_info &info, const char *name) {
    for (int32_t i = 0; i < info.class_count; ++i) {
        const gl_class_name &own = info.class_list[i];
        if (strcmp(name, own.name) == 0) return FIRST_OWN_CLASS << (static_cast<uint32_t>(own.bit) % 32);
    }
    return 0;
}

unsigned gl_ctype(gl_locale *locale, const char *class_name) {
    for (const StandardClass &standard : STANDARD_CLASSES) {
        if (strcmp(class_name, standard.name) == 0) return standard.mask;
    }
    return qbgl::own_class(locale->ctype, class_name);
}
