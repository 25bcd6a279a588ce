// Text of a locale's codeset as the client shows it: in UTF-8, by way of the library's conversions.
#pragma once

#include "text/conversion.h"

namespace qbgl {

class TextView {
  public:
    // Without a conversion to UTF-8 in the tree, all bytes count as unreadable.
    explicit TextView(const std::string &codeset);

    // Unreadable bytes become U+FFFD.
    std::string plain(std::string_view text) const;
    // For the eye: unreadable bytes as \xNN; controls, blanks other than the space and other characters without a picture as \n,
    // \t, \uNNNN; a backslash doubled.
    std::string visible(std::string_view text) const;

  private:
    struct Piece {
        std::string text; // UTF-8, or when it is not readable the bytes
        bool readable;
    };
    std::vector<Piece> pieces(std::string_view text) const;
    std::vector<Piece> pieces_of_utf8(std::string_view text) const;

    std::unique_ptr<Conversion> conversion_; // null for UTF-8 itself
    bool readable_ = false;
};

} // namespace qbgl
