#include "conversion/join.h"

#include "cvlib/record.h"
#include "system/error.h"

namespace qbgl::compiler {

namespace {

class Joiner {
  public:
    Joiner(const Codeset &source, const Codeset &target, const Substitutions &substitutions)
        : source_(source), target_(target), substitutions_(substitutions), stateful_(source.stateful() || target.stateful()) {}

    Conversion join() {
        result_.source_stateful = source_.stateful();
        result_.target_stateful = target_.stateful();
        result_.main.reserve(source_.read().size());
        for (const Character &character : source_.read()) {
            const ConversionRecord record = record_of(character);
            count(record);
            if (!is_by_rule(character, record)) (character.shifted ? result_.shifted : result_.main).push_back(record);
        }
        if (source_.stateful()) add_shifts();
        if (result_.growth == 0) result_.growth = 1;
        declare(result_.source, source_.form());
        declare(result_.target, target_.form());
        return std::move(result_);
    }

  private:
    // Units of a little-endian form are kept, looked up and written most significant byte first by functions of their own; the
    // stateful conversion knows nothing of them and sees the bytes as they stand in the text.
    bool as_text(Codeset::Form form) const { return stateful_ && form != Codeset::Form::BYTES; }

    // Only the conversion from a codeset of bytes to a little-endian form turns the units round; all others write records as they
    // stand.
    bool writes_as_stored() const { return stateful_ || source_.form() != Codeset::Form::BYTES; }

    // The best approximation that the target has, or null. One that the target itself only writes for want of a better one is too
    // far from the original.
    const Character *stand_in(char32_t code) const {
        const auto *alternatives = substitutions_.find(code);
        if (alternatives == nullptr) return nullptr;
        for (const char32_t alternative : *alternatives)
            if (const Character *target = target_.find(alternative); target != nullptr && !target->one_way) return target;
        return nullptr;
    }

    ConversionRecord record_of(const Character &character) {
        ConversionRecord record{as_text(source_.form()) ? character.bytes.reversed() : character.bytes, 0, {}};
        const Character *target = target_.find(character.code);
        const std::optional<Character> unlisted = target_.find_unlisted(character.code);
        if (unlisted && unlisted->bytes.length != 0) target = &*unlisted;
        bool substituted = target != nullptr && target->one_way;
        if (target == nullptr) {
            target = stand_in(character.code);
            substituted = true;
        }
        if (target == nullptr) {
            ++result_.unmapped;
            return record;
        }
        record.output = writes_as_stored() && target_.form() != Codeset::Form::BYTES ? target->bytes.reversed() : target->bytes;
        record.control = static_cast<uint8_t>(RECORD_MAPPED | record.output.length);
        if (character.code == 0) record.control |= RECORD_TERMINATOR;
        if (target->shifted) record.control |= RECORD_TARGET_SHIFTED;
        if (substituted) {
            record.control |= RECORD_SUBSTITUTED;
            ++result_.substituted;
        }
        return record;
    }

    // Whether the rules of both codesets say what a record says: then nobody need read it.
    bool is_by_rule(const Character &character, const ConversionRecord &record) const {
        constexpr uint8_t EXACT = RECORD_MAPPED | 7;
        const bool exact = (record.control & ~EXACT) == 0 && record.output == target_.by_rule(character.code);
        return exact && character.bytes == source_.by_rule(character.code);
    }

    void count(const ConversionRecord &record) {
        result_.source.count(record.key.length);
        if (record.control == 0) return;
        result_.target.count(record.output.length);
        const int shift = target_.stateful() ? 1 : 0; // the shift byte that may precede
        const int growth = record.output.length + shift, per = record.key.length;
        if (growth * result_.per <= result_.growth * per) return;
        result_.growth = growth;
        result_.per = per;
    }

    // A shift into the state that the text is in already is allowed and does nothing.
    void add_shifts() {
        const ConversionRecord out{Sequence::big_endian(SHIFT_OUT, 1), 0, {}}, in{Sequence::big_endian(SHIFT_IN, 1), 0, {}};
        const auto add = [](std::vector<ConversionRecord> &table, ConversionRecord record, uint8_t control) {
            record.control = static_cast<uint8_t>(RECORD_MAPPED | control);
            table.push_back(record);
        };
        add(result_.main, out, RECORD_TOGGLES_SOURCE);
        add(result_.main, in, 0);
        add(result_.shifted, in, RECORD_TOGGLES_SOURCE);
        add(result_.shifted, out, 0);
        result_.source.count(1);
    }

    // Equal lengths of two or four select the little-endian functions; every other codeset has to declare something else.
    void declare(Lengths &lengths, Codeset::Form form) const {
        const bool little_endian = form != Codeset::Form::BYTES && !stateful_;
        if (little_endian)
            lengths.min = lengths.max = form == Codeset::Form::LITTLE_ENDIAN_4 ? 4 : 2;
        else if (lengths.max == 0)
            lengths.min = lengths.max = 1;
        else if (lengths.min == lengths.max && (lengths.max == 2 || lengths.max == 4))
            lengths.min = 1;
    }

    const Codeset &source_, &target_;
    const Substitutions &substitutions_;
    const bool stateful_;
    Conversion result_;
};

} // namespace

Conversion join(const Codeset &source, const Codeset &target, const Substitutions &substitutions) {
    if (source.read().empty()) throw DataError(source.name() + ": no characters");
    return Joiner(source, target, substitutions).join();
}

} // namespace qbgl::compiler
