#include "definition/parser.h"

#include <fmt/format.h>

#include <algorithm>
#include <mutex>

namespace qbgl::compiler {

namespace fs = std::filesystem;

namespace {

template <class Operand> std::vector<Operand> all_of(const Keyword &keyword, const char *otherwise) {
    std::vector<Operand> result;
    for (const Keyword::Operand &operand : keyword.operands) {
        const auto *value = std::get_if<Operand>(&operand);
        if (!value) throw keyword.place.error(otherwise);
        result.push_back(*value);
    }
    return result;
}

template <class Operand> const Operand &only(const Keyword &keyword, const char *otherwise) {
    const auto *value = keyword.operands.size() == 1 ? std::get_if<Operand>(&keyword.operands[0]) : nullptr;
    if (!value) throw keyword.place.error(otherwise);
    return *value;
}

// A file and what stands behind it in a key: "FILE:LC_TIME".
std::string key_of(const fs::path &path, std::string_view part) { return fmt::format("{}:{}", path.string(), part); }

} // namespace

std::string Place::text() const {
    return column == 0 ? fmt::format("{}:{}", *file, line) : fmt::format("{}:{}:{}", *file, line, column);
}
DataError Place::error(std::string_view what) const { return DataError(fmt::format("{}: {}", text(), what)); }

int Keyword::number() const { return only<int>(*this, "number expected"); }
const std::u32string &Keyword::text() const { return only<std::u32string>(*this, "text expected"); }
std::vector<int> Keyword::numbers() const { return all_of<int>(*this, "numbers expected"); }
std::vector<std::u32string> Keyword::texts() const { return all_of<std::u32string>(*this, "texts expected"); }

// Everything that has been parsed. An entry without a value is being parsed: who meets it again copies itself.
struct DefinitionReader::Cache final : CopiedCategories {
    template <class Value> using Map = std::map<std::string, std::unique_ptr<Value>>;

    const std::vector<fs::path> &directories;
    std::mutex mutex;
    std::map<fs::path, DefinitionSourcePtr> sources;
    Map<ParsedTypes> all_types;
    Map<ParsedRules> all_rules;
    Map<ParsedKeywords> all_keywords;

    explicit Cache(const std::vector<fs::path> &searched) : directories(searched) {}

    const DefinitionSource &source(const fs::path &path) {
        DefinitionSourcePtr &entry = sources[path];
        if (!entry) entry = load_definition(path);
        return *entry;
    }

    // `place` is that of the copying line, null for the definition itself.
    template <class Value, class Parse>
    const Value &parsed(Map<Value> &map, const std::string &key, const Place *place, Parse parse) {
        const auto [entry, is_new] = map.try_emplace(key);
        if (is_new) {
            try {
                entry->second = std::make_unique<Value>(parse());
            } catch (...) {
                map.erase(entry);
                throw;
            }
        }
        if (!entry->second) throw place->error("copies itself, by way of other definitions or at once");
        return *entry->second;
    }
    const ParsedTypes &types(const fs::path &path, const Place *place) {
        return parsed(all_types, path.string(), place, [&] { return parse_types(source(path), *this); });
    }
    // What is not copied yet is handed out and not kept: the tables are large, and few definitions are copied.
    ParsedTypes take_types(const fs::path &path) {
        const bool is_kept = all_types.contains(path.string());
        const ParsedTypes &parsed = types(path, nullptr);
        if (is_kept) return parsed;
        const auto entry = all_types.extract(path.string());
        return std::move(*entry.mapped());
    }
    const ParsedRules &rules(const fs::path &path, const Place *place, const std::set<std::string, std::less<>> &defined) {
        return parsed(all_rules, key_of(path, fmt::format("{}", fmt::join(defined, " "))), place,
                      [&] { return parse_rules(source(path), *this, defined); });
    }
    const ParsedKeywords &keywords(const fs::path &path, const Place *place, std::string_view category) {
        return parsed(all_keywords, key_of(path, category), place, [&] { return parse_keywords(source(path), category, *this); });
    }

    const ParsedTypes &types(const std::string &name, const Place &place) override {
        return types(copied_file(name, place, "LC_CTYPE"), &place);
    }
    const ParsedRules &rules(const std::string &name, const Place &place,
                             const std::set<std::string, std::less<>> &defined) override {
        return rules(copied_file(name, place, "LC_COLLATE"), &place, defined);
    }
    const ParsedKeywords &keywords(const std::string &name, const Place &place, std::string_view category) override {
        return keywords(copied_file(name, place, category), &place, category);
    }

    fs::path copied_file(const std::string &name, const Place &place, std::string_view category) {
        fs::path path = search(name, place);
        if (!source(path).categories.contains(category)) throw place.error(fmt::format("{}: has no {}", path.string(), category));
        return path;
    }
    fs::path search(const std::string &name, const Place &place) const {
        const fs::path beside = fs::path(*place.file).parent_path() / name;
        if (fs::is_regular_file(beside)) return beside.lexically_normal();
        if (name.find('/') == std::string::npos)
            for (const fs::path &directory : directories)
                if (const fs::path path = directory / name; fs::is_regular_file(path)) return path.lexically_normal();
        throw place.error(fmt::format("{}: no such definition", name));
    }
};

DefinitionReader::DefinitionReader(std::vector<fs::path> directories)
    : directories_(std::move(directories)), cache_(std::make_unique<Cache>(directories_)) {}

DefinitionReader::~DefinitionReader() = default;

std::shared_ptr<const Definition> DefinitionReader::read(const fs::path &path) {
    const std::lock_guard lock(cache_->mutex);
    const fs::path normal = path.lexically_normal();
    const DefinitionSource &source = cache_->source(normal);

    auto definition = std::make_shared<Definition>();
    definition->file = *source.file;
    const auto add_sources = [&](const Sources &files) {
        auto &known = definition->sources;
        for (const fs::path &file : files)
            if (std::find(known.begin(), known.end(), file) == known.end()) known.push_back(file);
    };
    const auto place_of = [&](std::string_view category) { return Place{source.file, source.category(category).line, 1}; };
    const auto keywords_of = [&](std::string_view category, Place &place) {
        place = place_of(category);
        const ParsedKeywords &parsed = cache_->keywords(normal, nullptr, category);
        add_sources(parsed.sources);
        return parsed.keywords;
    };

    ErrorList errors;
    errors.collect([&] {
        definition->ctype_place = place_of("LC_CTYPE");
        ParsedTypes types = cache_->take_types(normal);
        definition->ctype = std::move(types.types);
        add_sources(types.sources);
    });
    errors.collect([&] {
        definition->collate_place = place_of("LC_COLLATE");
        const ParsedRules &rules = cache_->rules(normal, nullptr, {});
        definition->collate = rules.rules;
        add_sources(rules.sources);
    });
    errors.collect([&] { definition->numeric = keywords_of("LC_NUMERIC", definition->numeric_place); });
    errors.collect([&] { definition->monetary = keywords_of("LC_MONETARY", definition->monetary_place); });
    errors.collect([&] { definition->time = keywords_of("LC_TIME", definition->time_place); });
    errors.collect([&] { definition->messages = keywords_of("LC_MESSAGES", definition->messages_place); });
    errors.throw_if_any();
    return definition;
}

fs::path DefinitionReader::find(const std::string &name) const {
    for (const fs::path &directory : directories_)
        if (fs::path path = directory / name; fs::is_regular_file(path)) return path;
    std::vector<std::string> searched;
    for (const fs::path &directory : directories_) searched.push_back(directory.string());
    throw DataError(fmt::format("no locale definition {} in {}", name, fmt::join(searched, ", ")));
}

} // namespace qbgl::compiler
