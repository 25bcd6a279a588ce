// The readers of a locale object's sections, but that of LC_COLLATE, and what belongs to them, a group for each category. A reader
// stands behind the category's marker line, fills the category's record in the handle, and returns 0 or a failure with the number
// in the handle; what it has read before one is released by the category's free_ function, which is safe on a partly read record
// and leaves it empty.
#pragma once

#include "qbgl.h"

namespace qbgl {

int read_ctype(FILE *file, gl_locale *locale);
void free_ctype(gl_locale *locale);

// What follows a successful read of a category with texts: their wide forms, the conversion record, eras and caches. 1; 0 with
// GL_ENOCODESET where the codeset has no characters; -1 on another failure.
int init_numeric_info(gl_locale *locale);
int init_monetary_info(gl_locale *locale);
int init_message_info(gl_locale *locale);
int init_time_info(gl_locale *locale);

void free_numeric(gl_numeric_info *info);
void free_monetary(gl_locale *locale);
void free_messages(gl_messages_info *info);
void free_ltime(gl_locale *locale);

// The conversion record: its two halves are built from the category records, and each owns its strings.
void init_glconv_numeric(gl_lconv *conv);  // empty
void init_glconv_monetary(gl_lconv *conv); // empty, every layout number not available
int create_glconv_numeric(gl_locale *locale);
int create_glconv_monetary(gl_locale *locale);
void free_glconv_numeric(gl_lconv *conv);
void free_glconv_monetary(gl_lconv *conv);

// The era records of the time category.
void era_cleanup(gl_locale *locale);

} // namespace qbgl
