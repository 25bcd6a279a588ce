#include "tree.h"

#include "conversion_object.h"
#include "error.h"
#include "join.h"
#include "parallel.h"

#include <qbgl.h>

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <fstream>
#include <map>

namespace qbgl::compiler {

namespace fs = std::filesystem;

namespace {

struct Task {
    Catalogue::Pair pair;
    fs::path path;
    std::string header;
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
                     const std::map<std::string, bool> &objects) {
    size_t removed = 0;
    for (const fs::directory_entry &entry : fs::directory_iterator(directory)) {
        const std::string name = entry.path().filename().string();
        const bool ours = name.ends_with(".cvo") || name.ends_with(TEMPORARY_SUFFIX);
        const bool wanted = entry.is_symlink() ? links.contains(name) : objects.contains(name);
        if (!ours || wanted) continue;
        fs::remove(entry.path());
        ++removed;
    }
    return removed;
}

} // namespace

std::string object_name(const Catalogue &catalogue, Catalogue::Pair pair) {
    std::array<char, 14> buffer;
    gl_cs_nums2cv_fname(nullptr, catalogue.codesets()[pair.first].number, catalogue.codesets()[pair.second].number, buffer.data(),
                        nullptr);
    return buffer.data();
}

TreeReport build_tree(Library &library, const fs::path &directory, unsigned threads,
                      const std::function<void(size_t, size_t)> &progress) {
    const fs::path root = directory / "vrn", objects_directory = root / "cv9";
    for (const char *name : {"lc11", "cm3", "cv9", "etc", "dll"}) fs::create_directories(root / name);

    const Catalogue &catalogue = library.catalogue();
    const fs::path recipe = library.directory() / "conversions";
    const std::vector<Catalogue::Pair> pairs = catalogue.parse_conversions(read_file(recipe), recipe.string());
    const auto links = links_of(catalogue, pairs);
    update_file(root / "cm3" / "registry", catalogue.registry());

    TreeReport report;
    std::map<std::string, bool> objects;
    std::vector<Task> tasks;
    std::vector<size_t> needed;
    for (const Catalogue::Pair &pair : pairs) {
        const std::string name = object_name(catalogue, pair);
        objects[name] = true;
        Task task{pair, objects_directory / name, conversion_header(library.header_lines(pair))};
        if (begins_with(task.path, task.header)) continue;
        needed.push_back(pair.first);
        needed.push_back(pair.second);
        tasks.push_back(std::move(task));
    }
    report.objects = objects.size();
    report.links = links.size();
    report.removed = remove_others(objects_directory, links, objects);

    std::sort(needed.begin(), needed.end());
    needed.erase(std::unique(needed.begin(), needed.end()), needed.end());
    parallel_for(needed.size(), threads, [&](size_t i) { library.codeset(needed[i]); });

    // The big ones first, so that the threads end together.
    const auto size = [&](const Task &task) { return library.codeset(task.pair.first)->read().size(); };
    std::stable_sort(tasks.begin(), tasks.end(), [&](const Task &a, const Task &b) { return size(a) > size(b); });
    std::mutex mutex;
    parallel_for(tasks.size(), threads, [&](size_t i) {
        const Task &task = tasks[i];
        const Codeset &source = *library.codeset(task.pair.first), &target = *library.codeset(task.pair.second);
        try {
            replace_file(task.path, conversion_object(join(source, target, library.substitutions()), task.header));
        } catch (const DataError &error) {
            throw DataError(fmt::format("{} to {}: {}", source.name(), target.name(), error.what()));
        }
        const std::lock_guard lock(mutex);
        progress(++report.written, tasks.size());
    });
    for (const auto &[name, object] : links) update_link(objects_directory / name, object);
    return report;
}

} // namespace qbgl::compiler
