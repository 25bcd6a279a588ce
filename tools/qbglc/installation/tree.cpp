#include "installation/tree.h"

#include "conversion/join.h"
#include "locale/compiler.h"
#include "locale/encoder.h"
#include "object/charmap.h"
#include "object/conversion.h"
#include "recipe/locales.h"
#include "system/error.h"
#include "system/parallel.h"

#include <qbgl.h>

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <fstream>
#include <map>
#include <mutex>
#include <set>

namespace qbgl::compiler {

namespace fs = std::filesystem;

namespace {

struct Task {
    fs::path path;
    std::string header;
    std::vector<size_t> codesets;
    std::function<std::string()> object;
};

bool begins_with(const fs::path &path, const std::string &header) {
    std::ifstream file(path, std::ios::binary);
    std::string start(header.size(), '\0');
    return file.read(start.data(), static_cast<std::streamsize>(start.size())) && start == header;
}

// Replaces a file only when its content differs, so that its time tells of a change.
bool update_file(const fs::path &path, const std::string &content) {
    if (fs::is_regular_file(path) && fs::file_size(path) == content.size() && read_file(path) == content) return false;
    replace_file(path, content);
    return true;
}

void update_link(const fs::path &path, const std::string &target) {
    const fs::file_status status = fs::symlink_status(path);
    if (fs::is_symlink(status) && fs::read_symlink(path) == target) return;
    if (fs::exists(status)) fs::remove(path);
    fs::create_symlink(target, path);
}

// Link names and the objects that they lead to. Two pairs whose names run together alike cannot both have their link.
std::map<std::string, std::string> links_of(const Catalogue &catalogue, const std::vector<Catalogue::Pair> &pairs) {
    std::vector<std::vector<std::string>> names(catalogue.codesets().size());
    for (const Catalogue::Name &name : catalogue.names()) names[name.codeset].push_back(name.name);
    std::map<std::string, std::string> links;
    for (const Catalogue::Pair &pair : pairs)
        for (const std::string &source : names[pair.first])
            for (const std::string &target : names[pair.second]) {
                const std::string object = object_name(catalogue, pair);
                const auto [place, is_new] = links.emplace(fmt::format("{}_{}.cvo", source, target), object);
                if (!is_new && place->second != object) throw DataError(place->first + ": names two conversions");
            }
    return links;
}

// Removes objects and links that are not wanted, and what an interrupted run left.
size_t remove_others(const fs::path &directory, const std::map<std::string, std::string> &links,
                     const std::set<fs::path> &objects) {
    std::vector<fs::path> others;
    for (const fs::directory_entry &entry : fs::recursive_directory_iterator(directory)) {
        const std::string name = entry.path().filename().string();
        const bool ours =
            name.ends_with(".cvo") || name.ends_with(".lco") || name.ends_with(".cmo") || name.ends_with(TEMPORARY_SUFFIX);
        const bool wanted = entry.is_symlink() ? links.contains(name) : objects.contains(entry.path());
        if (ours && !wanted) others.push_back(entry.path());
    }
    for (const fs::path &other : others) {
        fs::remove(other);
        if (other.parent_path() != directory && fs::is_empty(other.parent_path())) fs::remove(other.parent_path());
    }
    return others.size();
}

// The steps of one run.
class TreeBuilder {
  public:
    TreeBuilder(Library &library, const fs::path &directory, unsigned threads)
        : library_(library), locales_(library), root_(directory / "vrn"), threads_(threads) {}

    TreeReport build(const std::function<void(size_t, size_t)> &progress) {
        for (const char *name : {"lc11", "cm3", "cv9", "etc", "dll"}) fs::create_directories(root_ / name);
        plan_conversions();
        plan_locales();
        plan_charmaps();
        update_file(root_ / "cm3" / "registry", library_.catalogue().registry());
        report_.removed = remove_others(root_ / "cv9", links_, wanted_) + remove_others(root_ / "lc11", {}, wanted_) +
                          remove_others(root_ / "cm3", {}, wanted_);
        std::erase_if(tasks_, [](const Task &task) { return begins_with(task.path, task.header); });
        load_codesets();
        make_objects(progress);
        for (const auto &[name, object] : links_) update_link(root_ / "cv9" / name, object);
        report_.inexact = locales_.take_warnings().size();
        return std::move(report_);
    }

  private:
    void plan(Task task) {
        wanted_.insert(task.path);
        tasks_.push_back(std::move(task));
    }

    void plan_conversions() {
        const Catalogue &catalogue = library_.catalogue();
        const fs::path recipe = library_.directory() / "conversions";
        const std::vector<Catalogue::Pair> pairs = catalogue.parse_conversions(read_file(recipe), recipe.string());
        links_ = links_of(catalogue, pairs);
        report_.conversions = pairs.size();
        report_.links = links_.size();
        for (const Catalogue::Pair &pair : pairs) {
            const std::string header = conversion_header(library_.header_lines(pair));
            plan({root_ / "cv9" / object_name(catalogue, pair), header, {pair.first, pair.second}, [this, pair, header] {
                      const Codeset &source = *library_.codeset(pair.first), &target = *library_.codeset(pair.second);
                      try {
                          return conversion_object(join(source, target, library_.substitutions()), header);
                      } catch (const DataError &error) {
                          throw DataError(fmt::format("{} to {}: {}", source.name(), target.name(), error.what()));
                      }
                  }});
        }
    }

    void plan_locales() {
        const fs::path recipe = library_.directory() / "locales";
        if (!fs::exists(recipe)) return;
        const std::vector<LocaleTask> wanted = parse_locales(library_.catalogue(), read_file(recipe), recipe.string());
        report_.locales = wanted.size();
        parallel_for(wanted.size(), threads_, [&](size_t i) { locales_.definition(wanted[i].definition); });
        for (const LocaleTask &locale : wanted) {
            const std::string header = locales_.header(locale.definition, locale.codeset, locale.calendar, locale.collation);
            plan({root_ / "lc11" / locale.file, header, {locale.codeset}, [this, locale, header] {
                      return locales_.object(locale.definition, locales_.target(locale.codeset), locale.codeset_name,
                                             locale.calendar, header, locale.collation);
                  }});
        }
    }

    void plan_charmaps() {
        const std::vector<Catalogue::Codeset> &codesets = library_.catalogue().codesets();
        for (size_t i = 0; i < codesets.size(); ++i) {
            if (!library_.charmap(i)) continue;
            const std::string header = charmap_header(library_, i);
            ++report_.charmaps;
            plan({root_ / "cm3" / fmt::format("{:04x}.cmo", codesets[i].number), header, {i}, [this, i, header] {
                      return charmap_object(symbolic_names(library_, i), header);
                  }});
        }
    }

    void load_codesets() {
        std::set<size_t> needed;
        for (const Task &task : tasks_) needed.insert(task.codesets.begin(), task.codesets.end());
        const std::vector<size_t> codesets(needed.begin(), needed.end());
        parallel_for(codesets.size(), threads_, [&](size_t i) { library_.codeset(codesets[i]); });
    }

    // The big ones first, so that the threads end together.
    void make_objects(const std::function<void(size_t, size_t)> &progress) {
        const auto size = [&](const Task &task) { return library_.codeset(task.codesets[0])->read().size(); };
        std::stable_sort(tasks_.begin(), tasks_.end(), [&](const Task &a, const Task &b) { return size(a) > size(b); });
        std::mutex mutex;
        size_t done = 0;
        parallel_for(tasks_.size(), threads_, [&](size_t i) {
            std::string left_out;
            try {
                const std::string object = tasks_[i].object();
                fs::create_directories(tasks_[i].path.parent_path());
                replace_file(tasks_[i].path, object);
            } catch (const EncodingError &error) {
                left_out = error.what();
                fs::remove(tasks_[i].path);
            }
            const std::lock_guard lock(mutex);
            if (left_out.empty())
                ++report_.written;
            else
                report_.left_out.push_back(left_out);
            progress(++done, tasks_.size());
        });
        std::sort(report_.left_out.begin(), report_.left_out.end());
    }

    Library &library_;
    LocaleCompiler locales_;
    fs::path root_;
    unsigned threads_;
    std::vector<Task> tasks_;
    std::set<fs::path> wanted_;
    std::map<std::string, std::string> links_;
    TreeReport report_;
};

} // namespace

std::string object_name(const Catalogue &catalogue, Catalogue::Pair pair) {
    std::array<char, 14> buffer;
    gl_cs_nums2cv_fname(nullptr, catalogue.codesets()[pair.first].number, catalogue.codesets()[pair.second].number, buffer.data(),
                        nullptr);
    return buffer.data();
}

TreeReport build_tree(Library &library, const fs::path &directory, unsigned threads,
                      const std::function<void(size_t, size_t)> &progress) {
    return TreeBuilder(library, directory, threads).build(progress);
}

} // namespace qbgl::compiler
