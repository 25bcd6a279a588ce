#include "text/newlines.h"

#include "text/encoded.h"

namespace qbgl {

NewlineFilter::NewlineFilter(Newline wanted, const std::string &codeset) : wanted_(wanted) {
    if (wanted == Newline::AS_IT_IS) return;
    return_ = encoded("\r", codeset);
    feed_ = encoded("\n", codeset);
}

// In no codeset is the byte of a line end part of a longer character; where both have several bytes, so have all characters. A
// return waits for what follows it.
std::string_view NewlineFilter::filter(std::string_view text) {
    if (wanted_ == Newline::AS_IT_IS) return text;
    result_.clear();
    for (const size_t unit = feed_.size(); text.size() >= unit; text.remove_prefix(unit)) {
        const std::string_view one = text.substr(0, unit);
        if (after_return_ && (one != feed_ || wanted_ == Newline::CRLF)) result_ += return_;
        if (one == feed_ && !after_return_ && wanted_ == Newline::CRLF) result_ += return_;
        after_return_ = one == return_;
        if (!after_return_) result_ += one;
    }
    return result_;
}

std::string_view NewlineFilter::end() {
    const bool waits = after_return_;
    after_return_ = false;
    return waits ? std::string_view(return_) : std::string_view();
}

} // namespace qbgl
