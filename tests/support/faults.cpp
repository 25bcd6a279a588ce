#include "support/faults.h"

#include "qbgl.h"

#include <gtest/gtest.h>
#include <optional>
#include <set>
#include <stdexcept>
#include <utility>

namespace qbgl_test {

namespace {

struct State {
    Operation operation{};
    unsigned nth = 0; // 0: nothing fails
    Lasting lasting{};
    bool hit = false;
    unsigned counts[4] = {};
    std::set<void *> blocks{};
    std::set<FILE *> streams{};
};

// The table's functions carry no context.
std::optional<State> state;

bool fails(Operation operation) {
    const unsigned count = ++state->counts[static_cast<unsigned>(operation)];
    const bool now = operation == state->operation && state->nth != 0 &&
                     (state->lasting == Lasting::once ? count == state->nth : count >= state->nth);
    state->hit = state->hit || now;
    return now;
}

template <class T> T *kept(std::set<T *> &those_there, T *pointer) {
    if (pointer != nullptr) those_there.insert(pointer);
    return pointer;
}

void *allocate(uint32_t size) { return fails(Operation::allocate) ? nullptr : kept(state->blocks, gl_ext_malloc(size)); }

void release(void *block) {
    state->blocks.erase(block);
    gl_ext_free(block);
}

FILE *open(const char *path, const char *mode) {
    return fails(Operation::open) ? nullptr : kept(state->streams, gl_ext_fopen(path, mode));
}

// A failing close closes nevertheless, as libc's does.
int close(FILE *stream) {
    state->streams.erase(stream);
    const int result = fclose(stream);
    return fails(Operation::close) ? EOF : result;
}

int get_byte(FILE *stream) { return fails(Operation::read) ? EOF : gl_ext_getc(stream); }

char *get_line(char *buffer, uint32_t size, FILE *stream) {
    return fails(Operation::read) ? nullptr : gl_ext_fgets(buffer, size, stream);
}

template <class Function> gl_extfunc entry(Function *function) { return reinterpret_cast<gl_extfunc>(function); }

const std::pair<unsigned, gl_extfunc> TABLE[] = {
    {GL_EXT_MALLOC, entry(allocate)}, {GL_EXT_FREE, entry(release)},  {GL_EXT_FOPEN, entry(open)},    {GL_EXT_FCLOSE, entry(close)},
    {GL_EXT_FGETC, entry(get_byte)},  {GL_EXT_GETC, entry(get_byte)}, {GL_EXT_FGETS, entry(get_line)}};

} // namespace

Faults::Faults() {
    if (state) throw std::logic_error("one Faults at a time");
    state.emplace();
    for (const auto &[slot, function] : TABLE) gl_setextfunc(nullptr, slot, function);
}

Faults::~Faults() {
    for (const auto &[slot, function] : TABLE) gl_setextfunc(nullptr, slot, nullptr);
    state.reset();
}

void Faults::arm(Operation operation, unsigned nth, Lasting lasting) {
    state = State{operation, nth, lasting, false, {}, std::move(state->blocks), std::move(state->streams)};
}

bool Faults::hit() const { return state->hit; }
unsigned Faults::count(Operation operation) const { return state->counts[static_cast<unsigned>(operation)]; }
unsigned Faults::blocks() const { return static_cast<unsigned>(state->blocks.size()); }
unsigned Faults::streams() const { return static_cast<unsigned>(state->streams.size()); }

unsigned for_each_fault(Operation operation, Lasting lasting, const std::function<void(const Faults &)> &body) {
    Faults faults;
    for (unsigned nth = 1;; ++nth) {
        SCOPED_TRACE(testing::Message() << "fault at operation " << nth << (lasting == Lasting::on ? " and on" : ""));
        const unsigned blocks = faults.blocks(), streams = faults.streams();
        faults.arm(operation, nth, lasting);
        body(faults);
        EXPECT_EQ(faults.blocks(), blocks) << "blocks are left over";
        EXPECT_EQ(faults.streams(), streams) << "streams are left open";
        if (!faults.hit() || testing::Test::HasFatalFailure()) return nth - 1;
    }
}

void for_each_fault(Operation operation, const std::function<void(const Faults &)> &body) {
    for (const Lasting lasting : {Lasting::once, Lasting::on}) for_each_fault(operation, lasting, body);
}

} // namespace qbgl_test
