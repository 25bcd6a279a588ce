#include "support/faults.h"

#include "qbgl.h"

#include <array>
#include <gtest/gtest.h>
#include <set>
#include <stdexcept>

namespace qbgl_test {

namespace {

struct State {
    std::array<unsigned, 4> counts{};
    Operation operation{};
    unsigned nth = 0; // 0: nothing fails
    Lasting lasting{};
    bool hit = false;
    std::set<void *> blocks;
    std::set<FILE *> streams;
};

// The table's functions carry no context.
State *state = nullptr;

bool fails(Operation operation) {
    const unsigned count = ++state->counts[static_cast<unsigned>(operation)];
    const bool now = operation == state->operation && state->nth != 0 &&
                     (state->lasting == Lasting::once ? count == state->nth : count >= state->nth);
    state->hit = state->hit || now;
    return now;
}

void *allocate(uint32_t size) {
    if (fails(Operation::allocate)) return nullptr;
    void *block = gl_ext_malloc(size);
    if (block != nullptr) state->blocks.insert(block);
    return block;
}

void release(void *block) {
    state->blocks.erase(block);
    gl_ext_free(block);
}

FILE *open(const char *path, const char *mode) {
    if (fails(Operation::open)) return nullptr;
    FILE *stream = gl_ext_fopen(path, mode);
    if (stream != nullptr) state->streams.insert(stream);
    return stream;
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

template <class Function> void fill(unsigned slot, Function *function) {
    gl_setextfunc(nullptr, slot, reinterpret_cast<gl_extfunc>(function));
}

} // namespace

Faults::Faults() {
    if (state != nullptr) throw std::logic_error("one Faults at a time");
    state = new State;
    fill(GL_EXT_MALLOC, allocate);
    fill(GL_EXT_FREE, release);
    fill(GL_EXT_FOPEN, open);
    fill(GL_EXT_FCLOSE, close);
    fill(GL_EXT_FGETC, get_byte);
    fill(GL_EXT_GETC, get_byte);
    fill(GL_EXT_FGETS, get_line);
}

Faults::~Faults() {
    for (const unsigned slot : {GL_EXT_MALLOC, GL_EXT_FREE, GL_EXT_FOPEN, GL_EXT_FCLOSE, GL_EXT_FGETC, GL_EXT_GETC, GL_EXT_FGETS}) {
        gl_setextfunc(nullptr, slot, nullptr);
    }
    delete state;
    state = nullptr;
}

void Faults::arm(Operation operation, unsigned nth, Lasting lasting) {
    state->counts = {};
    state->operation = operation;
    state->nth = nth;
    state->lasting = lasting;
    state->hit = false;
}

void Faults::disarm() { state->nth = 0; }

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
