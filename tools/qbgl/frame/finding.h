// What is the matter with a place of a text: one form for all commands, as a sentence for people and as members for machines.
#pragma once

#include "frame/messages.h"

namespace qbgl {

// A place in a text. Columns are characters, whatever their width on a screen.
struct Place {
    uint64_t line = 1, column = 1;
    uint64_t offset = 0; // bytes before it
};

struct Finding {
    std::string_view kind; // for machines: "invalid", "unmapped" ...
    std::string file;
    Place place;
    std::string bytes;
    std::string reason;
    std::string remedy = {}; // what to do about it, where something can be done
    JsonObject more = {};    // what machines get beside
    bool whole_line = false; // it is about the line: no column, offset and bytes are told

    // FILE:LINE:COLUMN: offset N, bytes XX XX: reason; remedy
    std::string sentence() const;
    JsonObject details() const;
    Failure failure(ExitStatus status = ExitStatus::DATA) const { return {status, sentence(), details()}; }
};

// Bytes that are no character of a locale's codeset, or, where they are `cut`, the beginning of one that does not end.
Finding unreadable(std::string_view bytes, bool cut, const std::string &file, const Place &place, const std::string &codeset);

} // namespace qbgl
