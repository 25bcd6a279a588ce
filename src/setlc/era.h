// The eras of the time category.
#pragma once

#include "qbgl.h"

namespace qbgl {

// Makes the era records from the era strings, and the joined texts of eras and alternative digits. 0, or -1 with the handle's error
// and no records.
int init_era_info(gl_locale *locale);

// What gl_langinfo tells of eras and alternative digits. 0, or -1 with the handle's error.
int init_time_info_texts(gl_locale *locale);
void free_time_info_texts(gl_locale *locale);

// Frees the era records.
void era_cleanup(gl_locale *locale);

} // namespace qbgl
