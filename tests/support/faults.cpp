#include "support/faults.h"
#include "support/files.h"

#include "qbgl.h"

#include <algorithm>
#include <cstring>
#include <gtest/gtest.h>
#include <map>
#include <optional>
#include <set>
#include <stdexcept>
#include <utility>

namespace qbgl_test {

namespace {

struct Stream {
    std::string content;
    size_t at = 0;
    bool failed = false;
};

struct State {
    bool own_blocks = false, own_streams = false, sees_closing = false;
    std::set<void *> blocks{};
    std::map<FILE *, std::unique_ptr<Stream>> streams{}; // null: libc's
    Operation operation{};
    unsigned nth = 0; // 0: nothing fails
    Lasting lasting{};
    bool hit = false;
    unsigned counts[5] = {};
};

// The table's functions carry no context.
std::optional<State> state;
int32_t error_number;

bool fails(Operation operation) {
    const unsigned count = ++state->counts[static_cast<unsigned>(operation)];
    const bool now = operation == state->operation && state->nth != 0 &&
                     (state->lasting == Lasting::once ? count == state->nth : count >= state->nth);
    state->hit = state->hit || now;
    return now;
}

// The host's blocks begin behind where libc's do.
constexpr uint32_t BEFORE = 32;

void *allocate(uint32_t size) {
    if (fails(Operation::allocate)) return nullptr;
    char *const block = static_cast<char *>(gl_ext_malloc(size + (state->own_blocks ? BEFORE : 0)));
    return block == nullptr || !state->own_blocks ? block : *state->blocks.insert(block + BEFORE).first;
}

void release(void *block) {
    const bool known = state->blocks.erase(block) != 0;
    gl_ext_free(static_cast<char *>(block) - (known && state->own_blocks ? BEFORE : 0));
}

FILE *open(const char *path, const char *mode) {
    if (fails(Operation::open)) return nullptr;
    FILE *const file = gl_ext_fopen(path, mode);
    if (file == nullptr || !state->own_streams) {
        if (file != nullptr && state->sees_closing) state->streams[file] = nullptr;
        return file;
    }
    auto stream = std::make_unique<Stream>(Stream{rest_of(file)});
    fclose(file);
    FILE *const handle = reinterpret_cast<FILE *>(stream.get());
    state->streams[handle] = std::move(stream);
    return handle;
}

// The host's stream, or null for one of libc's.
Stream *own(FILE *handle) {
    const auto found = state->streams.find(handle);
    return found != state->streams.end() ? found->second.get() : nullptr;
}

// A failing close closes nevertheless, as libc's does.
int close(FILE *stream) {
    const int result = own(stream) != nullptr ? 0 : fclose(stream);
    state->streams.erase(stream);
    return fails(Operation::close) ? EOF : result;
}

int get_byte(FILE *handle) {
    Stream *const stream = own(handle);
    if (fails(Operation::read)) {
        if (stream != nullptr) stream->failed = true;
        return EOF;
    }
    if (stream == nullptr) return gl_ext_getc(handle);
    return stream->at < stream->content.size() ? static_cast<unsigned char>(stream->content[stream->at++]) : EOF;
}

int put_back(int byte, FILE *handle) {
    Stream *const stream = own(handle);
    if (stream == nullptr) return gl_ext_ungetc(byte, handle);
    if (byte == EOF || stream->at == 0) return EOF;
    stream->content[--stream->at] = static_cast<char>(byte);
    return byte;
}

char *get_line(char *buffer, uint32_t size, FILE *handle) {
    Stream *const stream = own(handle);
    if (fails(Operation::read)) {
        if (stream != nullptr) stream->failed = true;
        return nullptr;
    }
    if (stream == nullptr) return gl_ext_fgets(buffer, size, handle);
    if (stream->at == stream->content.size()) return nullptr;
    const size_t line = stream->content.find('\n', stream->at), end = std::min(line, stream->content.size() - 1) + 1;
    const size_t length = std::min<size_t>(end - stream->at, size - 1);
    buffer[stream->content.copy(buffer, length, stream->at)] = '\0';
    stream->at += length;
    return buffer;
}

int has_error(FILE *handle) {
    const Stream *const stream = own(handle);
    return stream != nullptr ? stream->failed : state->hit && state->operation == Operation::read ? 1 : gl_ext_ferror(handle);
}
int is_at_end(FILE *handle) {
    const Stream *const stream = own(handle);
    return stream != nullptr ? stream->at == stream->content.size() : gl_ext_feof(handle);
}

char *get_variable(const char *name) { return fails(Operation::ask) ? nullptr : gl_ext_getenv(name); }
int *error_of(void *) { return &error_number; }

template <class Function> gl_extfunc entry(Function *function) { return reinterpret_cast<gl_extfunc>(function); }

const std::map<unsigned, gl_extfunc> TABLE = {
    {GL_EXT_GETENV, entry(get_variable)}, {GL_EXT_ERRNO, entry(error_of)},   {GL_EXT_FCLOSE, entry(close)},
    {GL_EXT_FEOF, entry(is_at_end)},      {GL_EXT_FERROR, entry(has_error)}, {GL_EXT_FGETC, entry(get_byte)},
    {GL_EXT_FGETS, entry(get_line)},      {GL_EXT_FOPEN, entry(open)},       {GL_EXT_FREE, entry(release)},
    {GL_EXT_GETC, entry(get_byte)},       {GL_EXT_MALLOC, entry(allocate)},  {GL_EXT_UNGETC, entry(put_back)}};

} // namespace

Faults::Faults()
    : Faults({GL_EXT_MALLOC, GL_EXT_FREE, GL_EXT_FOPEN, GL_EXT_FCLOSE, GL_EXT_FGETC, GL_EXT_GETC, GL_EXT_UNGETC, GL_EXT_FGETS,
              GL_EXT_FERROR, GL_EXT_FEOF}) {}

Faults::Faults(std::vector<unsigned> slots) : slots_(std::move(slots)) {
    if (state) throw std::logic_error("one Faults at a time");
    const auto has = [&](std::initializer_list<unsigned> wanted) {
        return std::all_of(wanted.begin(), wanted.end(), [&](unsigned slot) { return std::ranges::count(slots_, slot) > 0; });
    };
    state.emplace();
    state->own_blocks = has({GL_EXT_MALLOC, GL_EXT_FREE});
    state->own_streams = has({GL_EXT_FOPEN, GL_EXT_FCLOSE, GL_EXT_FGETC, GL_EXT_GETC, GL_EXT_UNGETC, GL_EXT_FGETS});
    state->sees_closing = has({GL_EXT_FOPEN, GL_EXT_FCLOSE});
    for (const unsigned slot : slots_) gl_setextfunc(nullptr, slot, TABLE.at(slot));
}

Faults::~Faults() {
    for (const unsigned slot : slots_) gl_setextfunc(nullptr, slot, nullptr);
    state.reset();
}

void Faults::arm(Operation operation, unsigned nth, Lasting lasting) {
    state->operation = operation;
    state->nth = nth;
    state->lasting = lasting;
    state->hit = false;
    std::ranges::fill(state->counts, 0U);
}

bool Faults::hit() const { return state->hit; }
unsigned Faults::count(Operation operation) const { return state->counts[static_cast<unsigned>(operation)]; }
unsigned Faults::blocks() const { return static_cast<unsigned>(state->blocks.size()); }
unsigned Faults::streams() const { return static_cast<unsigned>(state->streams.size()); }

unsigned for_each_fault(Faults &faults, Operation operation, Lasting lasting, const std::function<void(const Faults &)> &body) {
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

unsigned for_each_fault(Operation operation, Lasting lasting, const std::function<void(const Faults &)> &body) {
    Faults faults;
    return for_each_fault(faults, operation, lasting, body);
}

void for_each_fault(Operation operation, const std::function<void(const Faults &)> &body) {
    for (const Lasting lasting : {Lasting::once, Lasting::on}) for_each_fault(operation, lasting, body);
}

} // namespace qbgl_test
