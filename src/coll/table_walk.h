// The walk through a text's weights by the tables of the rules alone, step by step. Where lookup arrays are there, the walkers of
// coll/walker.h say the same faster.
#pragma once

#include "coll/rules.h"
#include "util/owned.h"

#include <algorithm>

namespace qbgl {

struct WideSpan {
    const gl_wchar *text;
    int32_t length;
};

// What a step of a walk finds. Behind the last one the weight and the character are 0.
struct Weight {
    uint16_t weight;
    gl_wchar character; // 1 for a collating element
};

// Which of the characters of a text stand in a collating element, told from its beginning: of the elements that the text has at a
// place the first of the list counts.
class ElementMap {
  public:
    // False when memory is out. Rules without elements need none.
    bool build(const gl_collate_info &info, WideSpan span);

    // The element that covers a character, or null.
    const gl_collating_element *at(int32_t position) const {
        return !covers_ || covers_[static_cast<uint32_t>(position)] == 0 ? nullptr
                                                                         : &elements_[covers_[static_cast<uint32_t>(position)] - 1];
    }

  private:
    Owned<uint16_t> covers_; // for each character the element's number from 1 on; 0 for none
    const gl_collating_element *elements_ = nullptr;
};

class TableWalk {
  public:
    TableWalk(const gl_collate_info &info, int pass, WideSpan span, const ElementMap &elements);

    // The next weight that is not ignored. A character without a row ends the walk.
    Weight next();
    bool done() const { return done_; }

  private:
    // Takes the next character of the expansion, or what stands at the position. False for a character without a row.
    bool choose(uint32_t &row, gl_wchar &character);

    const gl_collate_info &info_;
    const uint16_t *weights_;
    const ElementMap &elements_;
    const gl_wchar *text_;
    int32_t at_, end_, step_;
    int32_t consumed_ = 0; // characters of the text that the step, or the expansion, stands for
    const gl_expansion *expansion_ = nullptr;
    int32_t index_ = 0; // in the expansion
    bool done_;
};

} // namespace qbgl
