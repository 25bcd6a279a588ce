// The section of LC_MESSAGES: string lines of the expressions for an affirmative and a negative answer, and of the answers.
#include "setlc/categories.h"
#include "setlc/text.h"

using namespace qbgl;

namespace {

constexpr gl_text gl_messages_info::*TEXTS[] = {&gl_messages_info::yesexpr, &gl_messages_info::noexpr, &gl_messages_info::yesstr,
                                                &gl_messages_info::nostr};

} // namespace

void _gl_init_messages(gl_messages_info *info) { *info = {}; }

int _gl_read_messages(FILE *stream, gl_messages_info *info, int32_t *error) {
    for (const auto text : TEXTS) (info->*text).bytes = nullptr;
    ByteReader in(stream);
    int32_t number = 0;
    for (const auto text : TEXTS)
        if (!str_readallc(in, (info->*text).bytes, number)) break;
    return section_result(number, error);
}

void _gl_copy_messages(gl_locale *target, gl_locale *source) { target->messages = source->messages; }

int qbgl::init_message_info(gl_locale *locale) {
    if (const int ready = ready_for_texts(locale); ready != 1) return ready;
    for (const auto text : TEXTS)
        if (!make_wide(locale, locale->messages.*text)) return -1;
    return 1;
}

void qbgl::free_messages(gl_messages_info *info) {
    for (const auto text : TEXTS) free_text(info->*text);
}
