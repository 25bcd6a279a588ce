// What belongs to the texts of the time category as a whole.
#pragma once

#include "qbgl.h"

namespace qbgl {

// The single texts with their wide forms.
struct TimeText {
    char *gl_time_info::*bytes;
    gl_wchar *gl_time_info::*wide;
};
inline constexpr TimeText TIME_FORMATS[] = {{&gl_time_info::d_fmt, &gl_time_info::w_d_fmt},
                                            {&gl_time_info::d_t_fmt, &gl_time_info::w_d_t_fmt},
                                            {&gl_time_info::t_fmt, &gl_time_info::w_t_fmt},
                                            {&gl_time_info::t_fmt_ampm, &gl_time_info::w_t_fmt_ampm},
                                            {&gl_time_info::era_d_fmt, &gl_time_info::w_era_d_fmt},
                                            {&gl_time_info::era_t_fmt, &gl_time_info::w_era_t_fmt},
                                            {&gl_time_info::era_d_t_fmt, &gl_time_info::w_era_d_t_fmt}};
inline constexpr TimeText DAY_HALVES[] = {{&gl_time_info::am, &gl_time_info::w_am}, {&gl_time_info::pm, &gl_time_info::w_pm}};
inline constexpr TimeText JOINED_TEXTS[] = {{&gl_time_info::joined_eras, &gl_time_info::w_joined_eras},
                                            {&gl_time_info::joined_alt_digits, &gl_time_info::w_joined_alt_digits}};

// The caches by which time parsing recognises names; each maps a name to its index. 0, or -1 with the handle's error.
int cache_strings_for_lookup(gl_locale *locale);
void free_lookup_caches(gl_locale *locale);

// The wide forms of all texts. 0, or -1 with GL_ENOMEM.
int create_wide_time_strings(gl_locale *locale);

} // namespace qbgl
