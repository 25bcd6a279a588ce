// What the client says on standard error: a sentence a line for people, a JSON object a line for machines.
#pragma once

#include "frame/json.h"

#include <string>
#include <string_view>

namespace qbgl {

enum class ExitStatus { OK = 0, DATA = 1, CALL = 2, SYSTEM = 3 };

// Thrown by what cannot go on; it ends the program.
struct Failure {
    ExitStatus status;
    std::string sentence;
    JsonObject details = {};
};

struct Finding;

class Messages {
  public:
    explicit Messages(bool as_json) : as_json_(as_json) {}

    bool as_json() const { return as_json_; }
    // `details` carries what a machine wants beside the sentence.
    void say(std::string_view kind, std::string_view sentence, const JsonObject &details = {}) const;
    void say(std::string_view kind, const Finding &finding) const;
    ExitStatus fail(ExitStatus status, std::string_view sentence, JsonObject details = {}) const;
    ExitStatus fail(const Failure &failure) const { return fail(failure.status, failure.sentence, failure.details); }

  private:
    bool as_json_;
};

// A file name fit to stand in a message: control characters as \xNN.
std::string printable(std::string_view name);

} // namespace qbgl
