#include "served.h"

#include "files.h"

#include "qbgl.h"
#include "qbnxdl/entry_points.h"

#include <atomic>
#include <cstdlib>
#include <stdexcept>

namespace qbgl_test {

namespace {

std::atomic<unsigned> opened = 0;

// Puts a function in an entry point's place that counts the handles which it gives.
template <auto &entry_point, class... Arguments> void count_handles(void *(*)(Arguments...)) {
    static const auto open = entry_point;
    entry_point = [](Arguments... arguments) {
        void *const handle = open(arguments...);
        opened += handle != nullptr;
        return handle;
    };
}

constexpr char TREE[] = "QBGL_SERVED_BY";
constexpr int OWN_HEADER_LINES = 3; // of the tests' own objects, in parts of a codeset

} // namespace

bool runs_served() { return std::getenv(TREE) != nullptr; }

std::string served_tree(const char *own) { return runs_served() ? std::getenv(TREE) : own; }

void load_extension() {
    if (!runs_served()) return;
    const char *const tree = std::getenv(TREE);
    setenv("GL_USEGLU", "1", 1);
    gl_useglu(1);
    const ScopedEnv installation("QUORBANEDIR", tree);
    if (gl_init_glu(nullptr) != 0 || qbgl::fn_glu_lc_open == nullptr)
        throw std::runtime_error(std::string("no extension can be loaded from ") + tree);
    count_handles<qbgl::fn_glu_lc_open>(qbgl::fn_glu_lc_open);
    count_handles<qbgl::fn_glu_cv_open>(qbgl::fn_glu_cv_open);
}

unsigned opened_by_extension() { return opened; }

std::string served_name(std::string_view object_text) {
    if (!runs_served()) return "";
    constexpr std::string_view MARK = "HEADER_LINES=";
    const size_t mark = object_text.find(MARK);
    if (mark == std::string_view::npos) return "";
    object_text.remove_prefix(mark + MARK.size());
    const int lines = std::atoi(object_text.data());
    for (int line = 2; line < lines; ++line) object_text.remove_prefix(object_text.find('\n') + 1);
    const std::string codeset(object_text.substr(0, object_text.find('\n')));
    if (lines == OWN_HEADER_LINES && codeset != "utf8" && codeset != "8859-1") return "";
    const unsigned number =
        gl_lc_spec2cs_num(nullptr, codeset.c_str(), (std::getenv(TREE) + std::string("/vrn/cm3/registry")).c_str());
    char name[32];
    std::snprintf(name, sizeof name, "de_de/%04xicu.lco", number);
    return number != 0 ? name : "";
}

} // namespace qbgl_test
