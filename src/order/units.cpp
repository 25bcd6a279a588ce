#include "order/units.h"

namespace qbgl {

template <OrderShape SHAPE> size_t UnitReader::read_shape(Unit *out, size_t room) {
    Decoder<SHAPE> in(locale_, text_, at_);
    Unit *unit = out;
    for (Unit *const end = out + room; unit != end && !in.ended(); ++unit) *unit = take_unit(maps_, in);
    at_ = static_cast<size_t>(in.at() - text_.bytes);
    return static_cast<size_t>(unit - out);
}

size_t UnitReader::read(Unit *out, size_t room) {
    return with_shape(shape_, [&]<OrderShape SHAPE>() { return read_shape<SHAPE>(out, room); });
}

bool Units::read_block() {
    before_ = before_ == SIZE_MAX ? 0 : before_ + filled_;
    filled_ = reader_.read(block_, room_);
    if (reader_.ended()) total_ = before_ + filled_;
    return filled_ > 0;
}

bool Units::all(const Unit *&first, size_t &count) {
    if (before_ == SIZE_MAX) read_block();
    if (total_ > ON_STACK || before_ != 0) return false;
    first = block_;
    count = total_;
    return true;
}

// A backward walk over more than a block asks for room for all, or for as much as there is memory for: it reads from the beginning
// for each block.
void Units::count() {
    if (total_ == SIZE_MAX)
        while (read_block() && total_ == SIZE_MAX) {
        }
    for (size_t wanted = std::min<size_t>(total_, UINT32_MAX / sizeof(Unit)); wanted > room_ && !heap_; wanted /= 2) {
        heap_ = Owned<Unit>::allocate(static_cast<uint32_t>(wanted));
        if (!heap_) continue;
        block_ = heap_.get();
        room_ = wanted;
        before_ = SIZE_MAX;
    }
}

void Units::begin(bool forward) {
    forward_ = forward;
    if (before_ == SIZE_MAX) read_block();
    if (!forward) count();
    const bool whole = total_ <= room_ && before_ == 0;
    if (!whole) {
        reader_.rewind();
        before_ = SIZE_MAX;
        filled_ = 0;
        if (forward || total_ <= room_) read_block();
    }
    if (forward || before_ == 0) {
        at_ = forward ? block_ : block_ + filled_;
        end_ = forward ? block_ + filled_ : block_;
    } else {
        before_ = total_;
        at_ = end_ = block_;
    }
}

// The next block of a walk.
bool Units::more() {
    if (forward_) {
        if (total_ == before_ + filled_ || !read_block()) return false;
        at_ = block_;
        end_ = block_ + filled_;
        return true;
    }
    if (before_ == 0) return false;
    const size_t first = before_ > room_ ? (before_ - 1) / room_ * room_ : 0;
    reader_.rewind();
    before_ = SIZE_MAX;
    filled_ = 0;
    do read_block();
    while (before_ < first);
    at_ = block_ + filled_;
    end_ = block_;
    return true;
}

} // namespace qbgl
