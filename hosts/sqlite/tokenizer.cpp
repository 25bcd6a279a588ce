#include "tokenizer.h"

#include "text.h"

#include <algorithm>

namespace qbgl_sqlite {

namespace {

struct Tokenizer {
    const Locale &locale;
    int passes;
};

// A token must not have a NUL: 00 is written as 01 01, and 01 as 01 02, which keeps the order.
std::string escaped(const std::string &key) {
    std::string token;
    for (const char byte : key) {
        if (static_cast<unsigned char>(byte) <= 1)
            token += {'\1', static_cast<char>(byte + 1)};
        else
            token += byte;
    }
    return token;
}

bool is_of_word(const Locale &locale, std::string_view character, bool inside) {
    gl_wchar wc = 0;
    if (gl_mbtowc(locale.handle(), &wc, character.data(), static_cast<int>(character.size())) <= 0) return false;
    if (gl_iswalpha(locale.handle(), wc) != 0 || gl_iswdigit(locale.handle(), wc) != 0) return true;
    return inside && locale.is_mark(character);
}

int create(void *data, const char **arguments, int count, Fts5Tokenizer **made) {
    auto &connection = **static_cast<std::shared_ptr<Connection> *>(data);
    try {
        if (count < 1 || count > 2)
            throw Error("the tokenizer qbgl takes a locale, and a number of passes: tokenize = 'qbgl cs_CZ 1'");
        const std::string passes = count > 1 ? arguments[1] : "1";
        if (passes.size() != 1 || passes[0] < '1' || passes[0] > '8') throw Error("the passes of a tokenizer are 1 to 8");
        *made = reinterpret_cast<Fts5Tokenizer *>(new Tokenizer{connection.locale(arguments[0]), passes[0] - '0'});
        return SQLITE_OK;
    } catch (const std::bad_alloc &) {
        return SQLITE_NOMEM;
    } catch (const Error &error) {
        sqlite3_log(error.code, "qbgl: %s", error.what());
        return connection.note(error);
    }
}

void destroy(Fts5Tokenizer *tokenizer) { delete reinterpret_cast<Tokenizer *>(tokenizer); }

int tokenize(Fts5Tokenizer *base, void *context, int, const char *bytes, int length,
             int (*take)(void *, int, const char *, int, int, int)) {
    const auto &tokenizer = *reinterpret_cast<Tokenizer *>(base);
    const std::string_view text(bytes, static_cast<size_t>(std::max(length, 0)));
    try {
        for (size_t at = 0; at < text.size();) {
            size_t end = at;
            while (end < text.size()) {
                const size_t of_character = character_length(text.substr(end));
                if (!is_of_word(tokenizer.locale, text.substr(end, of_character), end > at)) break;
                end += of_character;
            }
            if (end == at) {
                at += character_length(text.substr(at));
                continue;
            }
            const std::string_view word = text.substr(at, end - at);
            std::string token = escaped(tokenizer.locale.key(word, tokenizer.passes));
            if (token.empty()) token = word; // whose letters these passes ignore
            const int result =
                take(context, 0, token.data(), static_cast<int>(token.size()), static_cast<int>(at), static_cast<int>(end));
            if (result != SQLITE_OK) return result;
            at = end;
        }
        return SQLITE_OK;
    } catch (const std::bad_alloc &) {
        return SQLITE_NOMEM;
    }
}

void forget(void *connection) { delete static_cast<std::shared_ptr<Connection> *>(connection); }

} // namespace

int make_tokenizer(const std::shared_ptr<Connection> &connection) {
    fts5_api *api = nullptr;
    sqlite3_stmt *statement = nullptr;
    if (sqlite3_prepare_v2(connection->db(), "SELECT fts5(?1)", -1, &statement, nullptr) != SQLITE_OK) return SQLITE_OK;
    sqlite3_bind_pointer(statement, 1, static_cast<void *>(&api), "fts5_api_ptr", nullptr);
    sqlite3_step(statement);
    sqlite3_finalize(statement);
    if (api == nullptr || api->iVersion < 2) return SQLITE_OK;
    std::unique_ptr<std::shared_ptr<Connection>> data(new (std::nothrow) std::shared_ptr<Connection>(connection));
    if (data == nullptr) return SQLITE_NOMEM;
    fts5_tokenizer tokenizer{create, destroy, tokenize};
    const int result = api->xCreateTokenizer(api, "qbgl", data.get(), &tokenizer, forget);
    if (result == SQLITE_OK) (void)data.release(); // FTS5's now
    return result;
}

} // namespace qbgl_sqlite
