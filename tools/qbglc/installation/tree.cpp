#include "installation/tree.h"

#include "conversion/join.h"
#include "installation/extension.h"
#include "locale/compiler.h"
#include "locale/encoder.h"
#include "object/charmap.h"
#include "object/conversion.h"
#include "object/seal.h"
#include "order/fingerprint.h"
#include "recipe/locales.h"
#include "system/error.h"
#include "system/file.h"
#include "system/lock.h"
#include "system/parallel.h"

#include <qbgl.h>

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <map>
#include <mutex>
#include <optional>
#include <set>
#include <sstream>

namespace qbgl::compiler {

namespace fs = std::filesystem;

namespace {

constexpr const char *LOCALES = GL_LC_DIRECTORY GL_LC_VERSION, *CONVERSIONS = GL_CV_DIRECTORY GL_CV_VERSION,
                     *CHARMAPS = GL_CM_DIRECTORY GL_CM_VERSION;
constexpr const char *EXTENSION_DATA = "etc/icudata";

constexpr size_t LONGEST_LOCALE_NAME = 31; // which a handle keeps

enum class State { MISSING, OUTDATED, DAMAGED, CURRENT };

struct Task {
    fs::path path;
    std::string header;
    std::vector<size_t> codesets;
    std::function<std::string()> object;
    std::string whose = ""; // what an error of it is about, where its own place does not tell
    State state = State::MISSING;
};

// Whether an object begins with these header lines. The third, which counts them, counts also those that say no more of the
// sources.
bool begins_with(std::string_view object, std::string_view header) {
    const size_t first = header.find('\n'), second = header.find('\n', first + 1) + 1;
    if (!object.starts_with(header.substr(0, second))) return false;
    const size_t count = object.find('\n', second);
    return count != std::string_view::npos && object.substr(count).starts_with(header.substr(header.find('\n', second)));
}

State state_of(const fs::path &path, const std::string &header) {
    if (!fs::is_regular_file(fs::symlink_status(path))) return State::MISSING;
    const std::string text = read_file(path);
    const Seal seal = check_seal(text);
    if (seal == Seal::BROKEN) return State::DAMAGED;
    if (begins_with(text, header)) return seal == Seal::WHOLE ? State::CURRENT : State::DAMAGED;
    return State::OUTDATED;
}

// The fingerprint of the order that an object has, damaged or not; empty for what has none.
std::string order_of(const fs::path &path) {
    if (!fs::is_regular_file(fs::symlink_status(path))) return {};
    return std::string(header_value(read_file(path), ORDER_LINE));
}

bool has_content(const fs::path &path, const std::string &content) {
    return fs::is_regular_file(path) && fs::file_size(path) == content.size() && read_file(path) == content;
}

bool leads_to(const fs::path &link, const std::string &target) {
    return fs::is_symlink(fs::symlink_status(link)) && fs::read_symlink(link) == target;
}

void update_link(const fs::path &path, const std::string &target) {
    if (leads_to(path, target)) return;
    if (fs::exists(fs::symlink_status(path))) fs::remove(path);
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

bool is_ours(const fs::directory_entry &entry) {
    const std::string name = entry.path().filename().string();
    return name.ends_with(".cvo") || name.ends_with(".lco") || name.ends_with(".cmo") || name.ends_with(TEMPORARY_SUFFIX) ||
           (entry.is_symlink() && is_served_locale(name));
}

// The steps of one run.
class TreeBuilder {
  public:
    TreeBuilder(Library &library, const fs::path &directory, const TreeOptions &options)
        : library_(library), locales_(library), root_(directory / "vrn"), options_(options) {}

    TreeReport build() {
        for (const char *name : {LOCALES, CHARMAPS, CONVERSIONS, "etc", "dll"}) fs::create_directories(root_ / name);
        const DirectoryLock lock(root_, DirectoryLock::Kind::WRITER, options_.waits);
        plan_all();
        if (!has_content(registry(), library_.catalogue().registry())) replace_file(registry(), library_.catalogue().registry());
        remove_others();
        find_states();
        std::erase_if(tasks_, [](const Task &task) { return task.state == State::CURRENT; });
        load_codesets();
        make_objects();
        for (const auto &[name, object] : links_) update_link(root_ / CONVERSIONS / name, object);
        for (const auto &[path, object] : served_) {
            fs::create_directories(path.parent_path());
            update_link(path, object);
        }
        for (const auto &[path, content] : files_)
            if (!has_content(path, content) && may_replace(path, content)) replace_file(path, content);
        report_.warnings = locales_.take_warnings();
        if (extension_ && !is_taken(registry_of_extensions()))
            report_.warnings.push_back(fmt::format("{}: {} is not the library that is taken, the last of at most four",
                                                   (root_ / "etc/dllregistry").string(), EXTENSION_FILE));
        if (extension_ && report_.served == 0)
            report_.warnings.push_back(
                fmt::format("{}: serves no locale with the modifier {}", (root_ / "etc/locmap").string(), EXTENSION_MODIFIER));
        std::sort(report_.warnings.begin(), report_.warnings.end());
        throw_if_any();
        return std::move(report_);
    }

    std::vector<std::string> verify() {
        if (!fs::is_directory(root_)) throw DataError(root_.string() + ": no installation");
        const DirectoryLock lock(root_, DirectoryLock::Kind::READER, options_.waits);
        plan_all();
        throw_if_any();
        find_states();
        std::vector<std::string> findings;
        const auto find = [&](const fs::path &path, const char *what) { findings.push_back(path.string() + ": " + what); };
        for (const Task &task : tasks_) {
            if (task.state == State::MISSING) find(task.path, "is missing");
            if (task.state == State::OUTDATED) find(task.path, "is out of date");
            if (task.state == State::DAMAGED) find(task.path, "is damaged");
        }
        if (!has_content(registry(), library_.catalogue().registry())) find(registry(), "is out of date");
        for (const auto &[name, object] : links_)
            if (!leads_to(root_ / CONVERSIONS / name, object)) find(root_ / CONVERSIONS / name, "is no link to its object");
        for (const auto &[path, object] : served_)
            if (!leads_to(path, object)) find(path, "is no link to its object");
        for (const auto &[path, content] : files_)
            if (!has_content(path, content)) find(path, "is out of date");
        for (const fs::path &other : others()) find(other, "is not in the recipes");
        std::sort(findings.begin(), findings.end());
        return findings;
    }

  private:
    fs::path registry() const { return root_ / CHARMAPS / "registry"; }

    void plan_all() {
        if (!options_.icu.empty()) extension_.emplace(options_.icu);
        plan_conversions();
        plan_locales();
        plan_charmaps();
        if (extension_)
            plan_extension();
        else if (has_extension(registry_of_extensions()))
            plan_map();
    }
    void find_states() {
        parallel_for(tasks_.size(), options_.threads,
                     [&](size_t i) { tasks_[i].state = state_of(tasks_[i].path, tasks_[i].header); });
    }

    bool is_wanted(const fs::directory_entry &entry) const {
        const fs::path &path = entry.path();
        const bool unplanned = options_.icu.empty() && is_served_locale(path); // as an earlier run with the extension left it
        if (!entry.is_symlink()) return wanted_.contains(path) || unplanned;
        if (!unplanned) return links_.contains(path.filename().string()) || served_.contains(path);
        const fs::path object = (path.parent_path() / fs::read_symlink(path)).lexically_normal();
        return wanted_.contains(object) || (is_served_locale(object) && fs::exists(object));
    }
    // Objects and links that are not wanted, and what an interrupted run left.
    std::vector<fs::path> others() const {
        std::vector<fs::path> result;
        for (const char *directory : {CONVERSIONS, LOCALES, CHARMAPS})
            if (fs::is_directory(root_ / directory))
                for (const fs::directory_entry &entry : fs::recursive_directory_iterator(root_ / directory))
                    if (is_ours(entry) && !is_wanted(entry)) result.push_back(entry.path());
        return result;
    }
    void remove_others() {
        for (const fs::path &other : others()) {
            fs::remove(other);
            const fs::path directory = other.parent_path();
            if (directory.parent_path() != root_ && fs::is_empty(directory)) fs::remove(directory);
            ++report_.removed;
        }
    }

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
            plan({root_ / CONVERSIONS / object_name(catalogue, pair), header, {pair.first, pair.second}, [this, pair, header] {
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
        std::map<std::string, std::string> files; // of definitions by their names; empty for those that are wrong
        for (const LocaleTask &locale : wanted) files.emplace(locale.definition, "");
        const std::vector<std::pair<const std::string, std::string> *> all = [&] {
            std::vector<std::pair<const std::string, std::string> *> result;
            result.reserve(files.size());
            for (auto &item : files) result.push_back(&item);
            return result;
        }();
        parallel_for(all.size(), options_.threads, [&](size_t i) {
            const auto first = std::find_if(wanted.begin(), wanted.end(),
                                            [&](const LocaleTask &locale) { return locale.definition == all[i]->first; });
            blame(whose(*first), [&] {
                const std::string file = locales_.find_definition(all[i]->first);
                locales_.definition(file);
                all[i]->second = file;
            });
        });
        for (const LocaleTask &locale : wanted) {
            const fs::path path = root_ / LOCALES / locale.file;
            if (extension_) plan_served(locale);
            wanted_.insert(path); // also with a definition that is wrong: the object that is there stays
            const std::string definition = files[locale.definition];
            if (definition.empty()) continue;
            const std::string header = locales_.header(definition, locale.codeset, locale.calendar, locale.collation);
            plan({path,
                  header,
                  {locale.codeset},
                  [this, locale, definition, header] {
                      return locales_.object(definition, locales_.target(locale.codeset), locale.codeset_name, locale.calendar,
                                             header, locale.collation);
                  },
                  whose(locale)});
        }
    }

    // A locale of ours under the extension's modifier: its object with the extension's order.
    void plan_served(const LocaleTask &locale) {
        const std::string name = locale.file.stem().string();
        const Catalogue::Codeset &codeset = library_.catalogue().codesets()[locale.codeset];
        if (name != fmt::format("{:04x}", codeset.number) || !extension_->has(codeset)) return; // with a modifier, or the default
        const fs::path served = root_ / LOCALES / locale.file.parent_path() / (name + EXTENSION_MODIFIER + ".lco");
        served_.emplace(served, locale.file.filename().string());
    }

    // ICU's other locales have the object of a locale without rules. A name that no specification can have is its file's.
    void plan_extension() {
        const auto codeset = library_.catalogue().find("utf8");
        if (!codeset) throw DataError("no codeset utf8 in the recipes: the extension library needs it");
        const uint16_t number = library_.catalogue().codesets()[*codeset].number;
        const std::string file = fmt::format("{:04x}{}.lco", number, EXTENSION_MODIFIER);
        const fs::path object = root_ / LOCALES / EXTENSION_MODIFIER / file;
        const std::string definition = locales_.find_definition("POSIX");
        const std::string header = locales_.header(definition, *codeset, "gregorian");
        plan({object, header, {*codeset}, [this, definition, codeset, header] {
                  return locales_.object(definition, locales_.target(*codeset), "utf8", "gregorian", header);
              }});
        for (const std::string &icu : extension_->locales()) {
            std::string place = icu;
            std::transform(place.begin(), place.end(), place.begin(), [](unsigned char c) { return std::tolower(c); });
            const bool plain = place.size() == 5 && place.find('_') == 2;
            const fs::path below = plain ? fs::path(place) / file : fs::path(fmt::format("{}.utf8@{}", icu, EXTENSION_MODIFIER));
            const std::string up = plain ? "../" : "";
            if (below.string().size() <= LONGEST_LOCALE_NAME)
                served_.emplace(root_ / LOCALES / below, fmt::format("{}{}/{}", up, EXTENSION_MODIFIER, file));
        }
        report_.served = served_.size();
        const fs::path etc = root_ / "etc";
        files_.emplace(root_ / "dll" / EXTENSION_FILE, read_file(options_.icu));
        const fs::path data = root_ / EXTENSION_DATA, registry = etc / "dllregistry";
        files_.emplace(data, extension_->data(data));
        files_.emplace(registry, extension_registry(registry_of_extensions(), registry.string()));
        plan_map();
    }
    // With another ICU, or other data of it, its orders may be others: the line that tells which ones stays as an object does.
    bool may_replace(const fs::path &path, const std::string &content) {
        if (path != root_ / EXTENSION_DATA || !fs::exists(path)) return true;
        report_.changes.push_back(fmt::format("{}: ICU's orders may be others: {}; {}", path.string(),
                                              content.substr(0, content.find('\n')),
                                              options_.accept_changes ? "accepted" : "the old data stay, and others are refused"));
        return options_.accept_changes;
    }
    std::string registry_of_extensions() const {
        const fs::path path = root_ / "etc/dllregistry";
        return fs::exists(path) ? read_file(path) : "";
    }
    void plan_map() {
        const fs::path map = root_ / "etc/locmap";
        if (!fs::exists(map) || read_file(map).starts_with(MAP_HEADING))
            files_.emplace(map, extension_map(library_.catalogue()));
        else if (extension_)
            count_served(map);
    }
    // By somebody's own map.
    void count_served(const fs::path &map) {
        std::vector<std::string> names;
        for (const auto &[path, object] : served_) names.push_back(path.lexically_relative(root_ / LOCALES).string());
        report_.served = extension_->served(map, names);
    }

    static std::string whose(const LocaleTask &locale) { return fmt::format("{}, {}", locale.file.string(), locale.place); }

    // Keeps the DataErrors of a function. An error that several share is told once, of the first of them.
    template <class Function> void blame(const std::string &whose, Function function) {
        ErrorList errors;
        errors.collect(function);
        std::istringstream lines(errors.text());
        const std::lock_guard lock(mutex_);
        for (std::string line; std::getline(lines, line);) {
            const auto [known, is_new] = blamed_.emplace(line, whose);
            if (!is_new) known->second = std::min(known->second, whose);
        }
    }
    void throw_if_any() {
        for (const auto &[line, whose] : blamed_) errors_.add(whose.empty() ? line : fmt::format("{} ({})", line, whose));
        errors_.throw_if_any();
    }

    void plan_charmaps() {
        const std::vector<Catalogue::Codeset> &codesets = library_.catalogue().codesets();
        for (size_t i = 0; i < codesets.size(); ++i) {
            if (!library_.charmap(i)) continue;
            const std::string header = charmap_header(library_, i);
            ++report_.charmaps;
            plan({root_ / CHARMAPS / fmt::format("{:04x}.cmo", codesets[i].number), header, {i}, [this, i, header] {
                      return charmap_object(symbolic_names(library_, i), header);
                  }});
        }
    }

    void load_codesets() {
        std::set<size_t> needed;
        for (const Task &task : tasks_) needed.insert(task.codesets.begin(), task.codesets.end());
        const std::vector<size_t> codesets(needed.begin(), needed.end());
        std::vector<size_t> sizes(codesets.size());
        parallel_for(codesets.size(), options_.threads,
                     [&](size_t i) { errors_.collect([&] { sizes[i] = library_.codeset(codesets[i])->read().size(); }); });
        for (size_t i = 0; i < codesets.size(); ++i) sizes_[codesets[i]] = sizes[i];
    }

    // The big ones first, so that the threads end together.
    void make_objects() {
        const auto size = [&](const Task &task) { return sizes_[task.codesets[0]]; };
        std::stable_sort(tasks_.begin(), tasks_.end(), [&](const Task &a, const Task &b) { return size(a) > size(b); });
        size_t done = 0;
        parallel_for(tasks_.size(), options_.threads, [&](size_t i) {
            blame(tasks_[i].whose, [&] { make_object(tasks_[i]); });
            const std::lock_guard lock(mutex_);
            options_.progress(++done, tasks_.size());
        });
        std::sort(report_.changes.begin(), report_.changes.end());
        std::sort(report_.damaged.begin(), report_.damaged.end());
    }

    void make_object(const Task &task) {
        const std::string old_order = order_of(task.path);
        const bool may_stay = task.state == State::OUTDATED && !old_order.empty() && !options_.accept_changes;
        const auto change = [&](const std::string &what, const char *when_kept, const char *otherwise) {
            const std::lock_guard lock(mutex_);
            report_.changes.push_back(fmt::format("{}: {}; {}", task.path.string(), what, may_stay ? when_kept : otherwise));
        };
        std::string object;
        try {
            object = task.object();
        } catch (const EncodingError &error) {
            change(fmt::format("its codeset cannot carry {}", error.what()), "the old object stays", "left out");
            if (!may_stay) fs::remove(task.path);
            return;
        }
        if (const std::string_view order = header_value(object, ORDER_LINE); !old_order.empty() && order != old_order) {
            change(fmt::format("texts have another order or other sort keys, {} instead of {}", order, old_order),
                   "the old object stays", "replaced");
            if (may_stay) return;
        }
        fs::create_directories(task.path.parent_path());
        replace_file(task.path, object);
        const std::lock_guard lock(mutex_);
        if (task.state == State::DAMAGED) report_.damaged.push_back(task.path.string() + ": was damaged, and is made anew");
        ++report_.written;
    }

    Library &library_;
    LocaleCompiler locales_;
    fs::path root_;
    const TreeOptions &options_;
    std::vector<Task> tasks_;
    std::map<size_t, size_t> sizes_; // of codesets, in characters
    std::set<fs::path> wanted_;
    std::map<std::string, std::string> links_;
    std::optional<IcuExtension> extension_;  // that is put in
    std::map<fs::path, std::string> served_; // links of locales that the extension library serves
    std::map<fs::path, std::string> files_;  // of the extension library, and what they hold
    ErrorList errors_;
    std::map<std::string, std::string> blamed_; // errors, and what they are about
    std::mutex mutex_;                          // of the report and of these
    TreeReport report_;
};

} // namespace

std::string object_name(const Catalogue &catalogue, Catalogue::Pair pair) {
    std::array<char, 14> buffer;
    gl_cs_nums2cv_fname(nullptr, catalogue.codesets()[pair.first].number, catalogue.codesets()[pair.second].number, buffer.data(),
                        nullptr);
    return buffer.data();
}

TreeReport build_tree(Library &library, const fs::path &directory, const TreeOptions &options) {
    return TreeBuilder(library, directory, options).build();
}

std::vector<std::string> verify_tree(Library &library, const fs::path &directory, const TreeOptions &options) {
    return TreeBuilder(library, directory, options).verify();
}

} // namespace qbgl::compiler
