// What a loaded locale holds, a section for each category.
#pragma once

#include "frame/sheet.h"
#include "qbgl.h"

namespace qbgl {

std::vector<Section> sections_of(gl_locale &locale);

} // namespace qbgl
