// What the files of the handle share: categories by number, the canned handles, completing and releasing.
#pragma once

#include "qbgl.h"

namespace qbgl {

inline constexpr int FIRST_CATEGORY = GL_CAT_CTYPE, LAST_CATEGORY = GL_CAT_MESSAGES;
constexpr bool is_category(int category) { return category >= FIRST_CATEGORY && category <= LAST_CATEGORY; }

// Indexed by category number: the line that opens a section, and the name in specifications and in the environment.
extern const char *const category_markers[8];
extern const char *const category_params[8];

inline constexpr size_t LONGEST_LOCALE_NAME = sizeof gl_locale::locale_name[0];
using LocaleName = char[LONGEST_LOCALE_NAME + 1];
using CodesetName = char[sizeof gl_locale::codeset_name[0]];
inline constexpr char DEFAULT_OBJECT[] = "default.lco", NATIVE[] = "native";

// Whether a handle is one that nobody may write to or free. Null counts as one.
bool is_canned(const gl_locale *locale);

// Puts a name into a category's slot, without a terminator when it fills the slot.
void set_locale_name(gl_locale *locale, int category, const char *name);

// Empties the names of a category and what tells its order, lets go of its extension handle, and makes it the handle's own again.
void release_names(gl_locale *locale, int category);

// Frees what a category holds and puts it into its null state.
void replace_by_null(gl_locale *locale, int category);
// The same after a failure, of which neither the error number nor the result change.
int leave_null(gl_locale *locale, int category, int result);

// Frees the byte tables of a handle, whose functions are then the general ones.
void free_byte_tables(gl_locale *locale);
void free_locale(gl_locale *locale);

// Chooses the functions and makes sure that the categories agree: 0 with the error number 0, or -1 with GL_EMIXEDCS or GL_ENOMEM.
int update_locale(gl_locale *locale);
int check_codesets(gl_locale *locale);
// Whether two names are one codeset, by number; the context, which may be null, gets the errors of looking them up.
bool same_codeset(void *ctx, const CodesetName &a, const CodesetName &b);
// What the locale information queries need beyond the records. They need nothing else so far: always 0.
int init_locale_info(gl_locale *locale);

// Hands a category to the extension, which takes it if it serves a locale of that name. Categories of one name share its handle.
// Returns 0, also when no extension is active, or -1 with its error.
int set_categories_glu(gl_locale *locale, int category, const char *name);
// Lets go of the extension's handle of a category, or of all; the last one to hold it closes it.
void set_categories_glu_null(gl_locale *locale, int category);

} // namespace qbgl
