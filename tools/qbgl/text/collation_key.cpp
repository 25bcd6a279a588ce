#include "text/collation_key.h"

#include "frame/files.h"

#include <fmt/format.h>

namespace qbgl {

namespace {

Failure out_of_memory(std::string_view text) {
    return {ExitStatus::SYSTEM, fmt::format("out of memory for the sort key of {} bytes of text", text.size()),
            JsonObject().number("error", unsigned{GL_ENOMEM})};
}

} // namespace

std::string_view CollationKeys::dense_key(std::string_view text) {
    for (;;) {
        const int size = gl_order_key(&locale_, text.data(), static_cast<int>(text.size()), -1,
                                      reinterpret_cast<unsigned char *>(key_.data()), static_cast<int>(key_.size()));
        if (size < 0) throw out_of_memory(text);
        if (static_cast<size_t>(size) <= key_.size()) return {key_.data(), static_cast<size_t>(size)};
        key_.resize(static_cast<size_t>(size));
    }
}

std::string_view CollationKeys::key(std::string_view text) {
    constexpr size_t TERMINATOR = 4;
    text_.assign(text).append(TERMINATOR, '\0');
    for (;;) {
        locale_.error = 0;
        const int size = gl_mbsxfrm(&locale_, key_.data(), text_.data(), static_cast<int>(key_.size()));
        if (size < 0) {
            if (locale_.error == GL_ENOMEM) throw out_of_memory(text);
            throw Failure{ExitStatus::SYSTEM, fmt::format("the locale has no sort key for a text: {}", gl_strerror(locale_.error)),
                          JsonObject().number("error", static_cast<unsigned>(locale_.error))};
        }
        if (static_cast<size_t>(size) < key_.size()) return {key_.data(), static_cast<size_t>(size)};
        key_.resize(static_cast<size_t>(size) + 1);
    }
}

} // namespace qbgl
