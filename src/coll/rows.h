// Wide text as the rows of its characters and elements: what later passes, backward ones and keys walk through.
#pragma once

#include "coll/table_walk.h"
#include "coll/walker.h"

namespace qbgl {

class Rows {
  public:
    Rows() = default;
    Rows(const Rows &) = delete;
    Rows &operator=(const Rows &) = delete;

    // The text must stay. False when memory is out.
    bool build(const gl_collation_maps &maps, WideSpan span);

    template <bool BACKWARD> Walker<RowText, BACKWARD, true, false> walk(const gl_collation_maps &maps, int pass) const {
        return {maps, pass, RowText(maps, pass, rows_, characters_), rows_, rows_ + count_};
    }

  private:
    static constexpr uint32_t ON_STACK = 127;

    bool make_room(uint32_t count, bool elements);

    uint16_t stack_[ON_STACK];
    gl_wchar character_stack_[ON_STACK];
    Owned<uint16_t> heap_;
    Owned<gl_wchar> character_heap_;
    uint16_t *rows_ = stack_;
    const gl_wchar *characters_ = character_stack_;
    size_t count_ = 0;
};

} // namespace qbgl
