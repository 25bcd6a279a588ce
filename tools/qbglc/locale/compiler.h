// Locale objects: a definition written in a codeset.
#pragma once

#include "collation/order.h"
#include "definition/definition.h"
#include "locale/calendars.h"
#include "locale/ctype.h"
#include "recipe/library.h"

#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace qbgl::compiler {

class LocaleCompiler {
  public:
    // The codeset of a locale.
    struct Target {
        CodesetPtr codeset;
        std::vector<bool> full_width;
        std::string mark;       // a fingerprint of what the above is made from
        std::string characters; // a fingerprint of the characters
    };

    // The library must outlive the compiler.
    explicit LocaleCompiler(Library &library, std::vector<std::filesystem::path> directories = {"/usr/share/i18n/locales"});

    // The file of a definition that a recipe names: one with a "/" as it is, otherwise one of the directories.
    std::string find_definition(const std::string &name) const;
    // A definition by its name or file, a codeset of the catalogue, one of a charmap file of the user's own.
    std::shared_ptr<const Definition> definition(const std::string &name);
    const Target &target(size_t codeset);
    Target own_target(const std::filesystem::path &charmap, std::string &warning);

    // The header, but for the fingerprint of the order and the seal: it changes whenever a source, a recipe or the compiler does.
    // A collation that is given stands in place of the definition's rules.
    std::string header(const std::string &name, const std::string &codeset_mark, const std::string &calendar,
                       const std::string &collation = "");
    std::string header(const std::string &name, size_t codeset, const std::string &calendar, const std::string &collation = "");
    // Whole header and body. Throws DataError; EncodingError when nothing but the codeset is in the way.
    std::string object(const std::string &name, const Target &target, const std::string &codeset_name, const std::string &calendar,
                       const std::string &header, const std::string &collation = "");

    // Where an order is not exactly what its definition says. Each is told once.
    std::vector<std::string> take_warnings();

  private:
    template <class Value> struct Cache {
        struct Item {
            std::once_flag made;
            Value value;
        };
        std::mutex mutex;
        std::map<std::string, Item> items;

        template <class Make> const Value &get(const std::string &key, Make make) {
            std::unique_lock lock(mutex);
            Item &item = items[key];
            lock.unlock();
            std::call_once(item.made, [&] { item.value = make(); });
            return item.value;
        }
    };

    const std::string &ctype(const Definition &definition, const Target &target);
    struct Order {
        std::string section, fingerprint;
    };
    const Order &collate(const Definition &definition, const Target &target);
    void add_warnings(const Definition &definition, const std::string &before, const std::vector<std::string> &warnings);
    const std::string &file_mark(const std::filesystem::path &path);

    Library &library_;
    DefinitionReader reader_;
    std::string calendars_mark_;
    Calendars calendars_;
    Cache<std::shared_ptr<const Definition>> definitions_;
    Cache<std::shared_ptr<const CharacterProperties>> properties_;
    Cache<CollationOrderPtr> orders_;
    Cache<std::string> ctypes_, file_marks_;
    Cache<Order> collates_;
    Cache<Target> targets_;
    std::mutex warnings_mutex_;
    std::vector<std::string> warnings_;
};

} // namespace qbgl::compiler
