// Text in pieces: whatever the cuts and the room, the result is that of one call; and every single call is as a plain model has it.
#include "support/conversion_shapes.h"
#include "support/files.h"

#include "cvlib/engine.h"
#include "cvlib/record.h"

#include <qbgl.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <random>
#include <tuple>
#include <vector>

namespace {

using namespace qbgl_test;
using namespace qbgl;

using Conversion = std::unique_ptr<gl_cv, int (*)(gl_cv *)>;

// Each has a text; those of the tree are of the same shapes.
const auto SHAPES = shapes_with_texts(120);

bool is_stateful(const gl_cv &cd) { return cd.source_stateful != 0 || cd.target_stateful != 0; }

// The bytes of a unit where a side is little-endian, otherwise 0.
size_t source_unit(const gl_cv &cd) {
    return cd.convert == little_endian_unicode_source_miconv && !is_stateful(cd) ? static_cast<size_t>(cd.source_max_len) : 0;
}
size_t target_unit(const gl_cv &cd) {
    return cd.convert == little_endian_unicode_target_miconv && !is_stateful(cd) ? static_cast<size_t>(cd.target_max_len) : 0;
}

std::string reversed(std::string_view text) { return {text.rbegin(), text.rend()}; }

std::string bytes_of(const uint8_t *bytes, int length) {
    return std::string(reinterpret_cast<const char *>(bytes), static_cast<size_t>(length));
}

// The record of the character that a text begins with, or null. A single-byte conversion reads single bytes, whatever the table
// has.
const uint8_t *record_of(const gl_cv &cd, const gl_cv_state &state, std::string_view text, int *length) {
    const size_t unit = source_unit(cd);
    const size_t longest = cd.convert == sb_miconv ? 1 : 4;
    const std::string key =
        unit == 0 ? std::string(text.substr(0, longest)) : reversed(text.substr(0, text.size() < unit ? 0 : unit));
    const gl_multi *table = state.source_shift != 0 ? cd.shifted_table : cd.main_table;
    return static_cast<const uint8_t *>(
        _gl_retrieve_text_multi_limit(key.data(), table, static_cast<int>(key.size()), length, nullptr));
}

struct Outcome {
    int result = 0, error = 0, room = 0, substituted = 0;
    size_t consumed = 0;
    gl_cv_state state{};
    std::string output{};
};

auto fields(const Outcome &o) {
    return std::tie(o.result, o.error, o.room, o.substituted, o.consumed, o.state.source_shift, o.state.target_shift);
}

// One call as the tables alone tell it: a character at a time, without lanes.
Outcome model(const gl_cv &cd, gl_cv_state state, std::string_view input, int room, bool to_terminator) {
    if (is_stateful(cd) && state.reset != 0) state.source_shift = state.target_shift = 0;
    Outcome o{.room = room, .state = state};
    const auto failed = [&](int error) {
        o.result = -1;
        o.error = error;
        return o;
    };
    for (bool ends = false; o.consumed < input.size() && !ends;) {
        int length = 0;
        const uint8_t *found = record_of(cd, o.state, input.substr(o.consumed), &length);
        if (found == nullptr) return failed(0);
        const Record record(found);
        if (record.unmapped()) return failed(GL_EILSEQ);
        if (record.substituted()) o.substituted = 1;
        std::string bytes = bytes_of(record.output(), record.length());
        if (target_unit(cd) != 0) bytes = reversed(bytes);
        ends = to_terminator && record.terminator();
        const int shift = record.target_shift();
        if (is_stateful(cd)) {
            const auto sequence = [&](int i) { return bytes_of(cd.sequence[i], cd.sequence_length[i]); };
            if (shift != o.state.target_shift) bytes.insert(0, sequence(shift == 1 ? 0 : 1));
            const bool last = ends || o.consumed + static_cast<size_t>(length) == input.size();
            if (state.flush != 0 && shift == 1 && last) bytes += sequence(1);
        }
        // A four-byte unit is given room when two bytes are left.
        if (o.room < (target_unit(cd) == 4 ? 2 : static_cast<int>(bytes.size()))) return failed(GL_E2BIG);
        if (is_stateful(cd)) {
            o.state.target_shift = shift;
            if (record.toggles_source()) o.state.source_shift ^= 1;
        }
        o.output += bytes;
        o.room -= static_cast<int>(bytes.size());
        o.consumed += static_cast<size_t>(length);
    }
    return o;
}

// A call with buffers of their own, so that one byte too far is seen: as the model has it, measured and then written.
Outcome call(gl_cv &cd, gl_cv_state state, std::string_view input, int room, bool to_terminator = false) {
    const size_t slack = target_unit(cd) == 4 ? 2 : 0;
    const std::vector<char> source(input.begin(), input.end());
    std::vector<char> target(static_cast<size_t>(std::max(room, 0)) + slack);
    const Outcome expected = model(cd, state, input, room, to_terminator);
    Outcome o;
    void *const lane = cd.lane;
    for (const auto &[write, lane_used] : {std::pair<bool, void *>(false, lane), {true, nullptr}, {true, lane}}) {
        cd.lane = lane_used;
        o = {.room = room, .state = state};
        const char *in = source.data();
        char *out = target.data();
        auto inleft = static_cast<int>(input.size());
        int *left = to_terminator ? nullptr : &inleft;
        cd.error = 0;
        o.result = write ? gl_cv_mconv(&cd, &o.state, &in, left, &out, &o.room, &o.substituted)
                         : gl_mconvlen(&cd, &o.state, &in, left, &o.room, &o.substituted);
        o.error = cd.error;
        o.consumed = static_cast<size_t>(in - source.data());
        o.output.assign(target.data(), out);
        EXPECT_EQ(fields(o), fields(expected)) << (write ? "written" : "measured");
        EXPECT_EQ(o.output, write ? expected.output : "");
        EXPECT_TRUE(to_terminator || o.consumed + static_cast<size_t>(inleft) == input.size());
        EXPECT_TRUE(input.empty() || o.consumed > 0 || o.result == -1) << "no progress";
    }
    return o;
}

class Split : public testing::TestWithParam<size_t> {
  protected:
    void SetUp() override {
        const auto &[object, text] = SHAPES[GetParam()];
        const TempDir directory;
        write_file(directory / "object.cvo", object.text());
        gl_cv *cd = nullptr;
        ASSERT_EQ(gl_iconv_open1(&cd, (directory / "object.cvo").c_str()), 0);
        cd_.reset(cd);
        text_ = text;
        ASSERT_FALSE(text_.empty());
        whole_ = call(*cd_, {1, 1, 0, 0}, text_, static_cast<int>(text_.size()) * 8 + 8);
        ASSERT_EQ(whole_.result, 0);
        full_ = static_cast<int>(whole_.output.size());
        int length = 0;
        const uint8_t *zeros = record_of(*cd_, {}, std::string(4, '\0'), &length);
        if (zeros != nullptr && Record(zeros).terminator()) terminator_.assign(static_cast<size_t>(length), '\0');
    }
    Conversion cd_{nullptr, gl_cv_unload};
    std::string text_, terminator_; // no terminator where all characters are of two bytes
    Outcome whole_;
    int full_ = 0; // the room of it all
};

TEST_P(Split, AtEveryByte) {
    const std::string terminated = text_ + terminator_;
    for (size_t cut = 0; cut <= text_.size(); ++cut) {
        const Outcome first = call(*cd_, {}, text_.substr(0, cut), full_);
        EXPECT_EQ(first.error, 0);
        gl_cv_state state = first.state;
        state.flush = 1;
        const Outcome second = call(*cd_, state, text_.substr(first.consumed), first.room);
        // A closing sequence can only follow a character: at the very end, there is none left.
        const bool unclosed = cut == text_.size() && first.state.target_shift != 0;
        const std::string close = unclosed ? bytes_of(cd_->sequence[1], cd_->sequence_length[1]) : "";
        ASSERT_EQ(first.output + second.output + close, whole_.output) << "cut at " << cut;
        ASSERT_EQ(second.result, 0);
        ASSERT_EQ(first.substituted | second.substituted, whole_.substituted);
        if (terminator_.empty()) continue;
        const std::string rest = terminated.substr(first.consumed);
        ASSERT_EQ(call(*cd_, state, rest, full_ + 8, true).consumed, rest.size()) << "cut at " << cut;
    }
}

// Whole ones among them, in any room, state and combination of flags.
TEST_P(Split, DamagedTexts) {
    std::mt19937 random(5);
    const auto one_of_two = [&random] { return static_cast<int>(random() % 2); };
    for (int round = 0; round < 1000; ++round) {
        std::string text = text_.substr(random() % text_.size() & ~size_t{3}, random() % 80);
        for (unsigned n = text.empty() ? 0 : random() % 4; n > 0; --n)
            text[random() % text.size()] = static_cast<char>(random() % 4 == 0 ? 0 : random());
        const bool ends = round % 4 == 0 && !terminator_.empty();
        if (ends) text = text.substr(0, text.size() & ~size_t{3}) + std::string(4, '\0');
        gl_cv_state state = {one_of_two(), one_of_two(), 0, 0};
        if (cd_->source_stateful != 0) state.source_shift = one_of_two();
        if (cd_->target_stateful != 0) state.target_shift = one_of_two();
        call(*cd_, state, text, static_cast<int>(random() % (text.size() * 3 + 2)) - 1, ends);
        ASSERT_FALSE(HasFailure()) << "round " << round;
    }
}

INSTANTIATE_TEST_SUITE_P(Shapes, Split, testing::Range(size_t{0}, SHAPES.size()));

} // namespace
