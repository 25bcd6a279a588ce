// Bytes as an object file of any kind: what loads has whole texts and can be shared, and the last bytes choose calls of the face on
// it.
#include "calls.h"

using namespace qbgl_test;

namespace {

constexpr size_t CHOICES = 400;

// Texts of a locale are whole, in both forms, and its months are found by their names.
void look_at_texts(gl_locale *locale) {
    const gl_time_info &time = locale->time;
    const gl_lconv &conv = *gl_localeconv(locale);
    const auto look = [locale](const char *bytes, const gl_wchar *wide) {
        require((bytes == nullptr) == (wide == nullptr));
        if (bytes != nullptr) require(gl_mbsbytes(locale, bytes) >= gl_wcslen(wide));
    };
    for (int i = 0; i < 7; ++i) look(time.day[i], time.w_day[i]);
    for (const gl_text_list *list : {&time.abmon, &time.mon, &time.alt_digits})
        for (int i = 0; i < list->count; ++i) look(list->bytes[i], list->wide[i]);
    for (int i = 0; i < time.era_count; ++i) look(time.eras[i].third, time.eras[i].w_third);
    look(time.joined_eras, time.w_joined_eras);
    look(conv.decimal_point, conv.w_decimal_point);
    look(conv.mon_decimal_point, conv.w_mon_decimal_point);
    look(locale->messages.yesexpr.bytes, locale->messages.yesexpr.wide);
    for (char **text = locale->all_one; text != nullptr && *text != nullptr; ++text) gl_mbsbytes(locale, *text);
    for (auto *pair = locale->equivalence; pair != nullptr && pair->member != nullptr; ++pair)
        require(gl_mbsbytes(locale, pair->member) >= 0 && gl_mbsbytes(locale, pair->representative) >= 0);
    for (int i = 0, length, value; i < time.mon.count; ++i)
        require(_gl_validate_wc_string(locale, time.mon_names, time.mon.wide[i], &length, &value) == 0 && value >= 0 &&
                value < time.mon.count);
}

void share(gl_locale *locale) {
    gl_locale *copy = nullptr;
    require(gl_create_null_locale_4(&copy) == 0 && gl_copy_cat(copy, locale, GL_CAT_ALL) == 0);
    char *names = gl_setlocale_4(copy, GL_CAT_ALL, nullptr);
    require(names != nullptr);
    gl_destroystring(names);
    gl_free_nonshared_loc(copy);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    static GuardedMemory memory;
    const size_t choices = std::min(size, CHOICES);
    Input in(data + size - choices, choices);
    Scene scene(memory, in);
    gl_locale *locale = nullptr;
    gl_cv *cd = nullptr;
    gl_charmap *cm = nullptr;
    serve_object(data, size);
    const auto loaded = [](auto *record, int result) {
        require((result == 0) == (gl_errno(record) == 0));
        return result == 0 ? record : nullptr;
    };
    const int created = gl_createlocale2_4(&locale, "/"), opened = gl_iconv_open1(&cd, "/object.cvo"),
              mapped = gl_cm_load(&cm, "/object.cmo", nullptr, nullptr);
    scene.locale = loaded(locale, created);
    scene.cd = loaded(cd, opened);
    scene.cm = loaded(cm, mapped);
    if (scene.locale != nullptr) look_at_texts(locale), share(locale);
    const int unit = scene.locale != nullptr ? gl_mb_loc_min(locale) : scene.cd != nullptr ? cd->source_min_len : gl_mb_cm_min(cm);
    scene.terminator = static_cast<size_t>(std::max(unit, 1));
    if (scene.locale != nullptr || scene.cd != nullptr || scene.cm != nullptr) call_face(scene, memory, some_characters());
    gl_lc_unload(locale);
    gl_cv_unload(cd);
    gl_cm_unload(cm);
    return 0;
}
