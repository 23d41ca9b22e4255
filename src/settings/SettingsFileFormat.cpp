#include "settings/SettingsFileFormat.h"

#include <algorithm>
#include <charconv>
#include <optional>
#include <type_traits>
#include <variant>
#include <vector>

#include "core/Utf8.h"

namespace tavi {
namespace {

// QSettings works on UTF-16 text: escapes such as \x4e2d name UTF-16 units,
// and @ByteArray(...) holds one byte per unit. Values are unescaped into
// units, then turned into UTF-8 or bytes as a whole.
using Units = std::u16string;

constexpr char kUpperHex[] = "0123456789ABCDEF";
constexpr char kLowerHex[] = "0123456789abcdef";

bool isHexDigit(char32_t c) { return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F'); }

unsigned hexValue(char c) {
    if (c >= '0' && c <= '9') return static_cast<unsigned>(c - '0');
    if (c >= 'a' && c <= 'f') return static_cast<unsigned>(c - 'a' + 10);
    return static_cast<unsigned>(c - 'A' + 10);
}

void appendUnits(Units& out, char32_t scalar) {
    if (scalar < 0x10000) {
        out += static_cast<char16_t>(scalar);
    } else {
        out += static_cast<char16_t>(0xD800 + ((scalar - 0x10000) >> 10));
        out += static_cast<char16_t>(0xDC00 + ((scalar - 0x10000) & 0x3FF));
    }
}

// Raw file bytes are UTF-8; an invalid byte becomes U+FFFD, as it does when
// QSettings reads it.
void appendUtf8AsUnits(Units& out, std::string_view bytes) {
    for (std::size_t pos = 0; pos < bytes.size();) {
        const Utf8Scalar scalar = decodeUtf8At(bytes, pos);
        appendUnits(out, scalar.valid ? scalar.value : 0xFFFD);
        pos += scalar.length;
    }
}

// A surrogate without its partner becomes U+FFFD.
std::string unitsToUtf8(std::u16string_view units) {
    std::string out;
    out.reserve(units.size());
    for (std::size_t i = 0; i < units.size(); ++i) {
        char32_t c = units[i];
        if (c >= 0xD800 && c <= 0xDBFF && i + 1 < units.size() && units[i + 1] >= 0xDC00 && units[i + 1] <= 0xDFFF) {
            c = 0x10000 + ((c - 0xD800) << 10) + (units[i + 1] - 0xDC00);
            ++i;
        }
        appendUtf8(out, c);
    }
    return out;
}

// One byte per unit; a unit above 0xFF becomes '?', as in QString::toLatin1.
std::string unitsToLatin1(std::u16string_view units) {
    std::string out;
    out.reserve(units.size());
    for (char16_t unit : units) out += unit <= 0xFF ? static_cast<char>(unit) : '?';
    return out;
}

bool startsWith(std::u16string_view text, std::string_view prefix) {
    if (text.size() < prefix.size()) return false;
    for (std::size_t i = 0; i < prefix.size(); ++i)
        if (text[i] != static_cast<unsigned char>(prefix[i])) return false;
    return true;
}

// --- Reading -----------------------------------------------------------------

// One logical line: a key=value entry or a [group] header. Quotes and
// backslashes may carry it over line breaks; ';' outside quotes starts a
// comment.
struct Line {
    std::size_t begin = 0;
    std::size_t end = 0;
    std::size_t equals = std::string_view::npos;
};

bool isLineSpace(char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r'; }

bool nextLine(std::string_view data, std::size_t& pos, Line& line) {
    const std::size_t n = data.size();
    std::size_t start = pos;
    while (start < n && isLineSpace(data[start])) ++start;
    std::size_t i = start;
    bool inQuotes = false;
    line.equals = std::string_view::npos;
    while (i < n) {
        const char c = data[i++];
        switch (c) {
        case '=':
            if (!inQuotes && line.equals == std::string_view::npos) line.equals = i - 1;
            break;
        case '\n':
        case '\r':
            if (i == start + 1) {
                ++start;  // the break that ended a comment
            } else if (!inQuotes) {
                --i;
                goto done;
            }
            break;
        case '\\':
            if (i < n) {
                const char escaped = data[i++];
                if (i < n && ((escaped == '\n' && data[i] == '\r') || (escaped == '\r' && data[i] == '\n'))) ++i;
            }
            break;
        case '"':
            inQuotes = !inQuotes;
            break;
        case ';':
            if (i == start + 1) {
                while (i < n && data[i] != '\n' && data[i] != '\r') ++i;
                start = i;
            } else if (!inQuotes) {
                --i;
                goto done;
            }
            break;
        default:
            break;
        }
    }
done:
    pos = i;
    line.begin = start;
    line.end = i;
    return line.end > line.begin;
}

// Keys and group names: '\' stands for '/', %XX and %UXXXX for the unit with
// that hexadecimal value; any other byte is taken as Latin-1.
std::string unescapeKey(std::string_view key) {
    Units units;
    for (std::size_t i = 0; i < key.size();) {
        const char c = key[i];
        if (c == '\\') {
            units += u'/';
            ++i;
            continue;
        }
        if (c == '%' && i + 1 < key.size()) {
            const bool wide = key[i + 1] == 'U';
            const std::size_t first = i + (wide ? 2 : 1);
            const std::size_t digits = wide ? 4 : 2;
            bool ok = first + digits <= key.size();
            unsigned value = 0;
            for (std::size_t k = 0; ok && k < digits; ++k) {
                ok = isHexDigit(static_cast<unsigned char>(key[first + k]));
                if (ok) value = (value << 4) | hexValue(key[first + k]);
            }
            if (ok) {
                units += static_cast<char16_t>(value);
                i = first + digits;
                continue;
            }
        }
        units += static_cast<char16_t>(static_cast<unsigned char>(c));
        ++i;
    }
    return unitsToUtf8(units);
}

struct UnescapedValue {
    Units text;
    std::vector<Units> list;
    bool isList = false;
};

// Backslash escapes, quotes (which may close and reopen anywhere) and commas
// outside quotes that make a list; blanks around unquoted parts are dropped.
UnescapedValue unescapeValue(std::string_view s) {
    UnescapedValue value;
    Units& current = value.text;
    bool inQuotes = false;
    bool currentIsQuoted = false;
    std::size_t keepFrom = 0;  // trailing blanks before this point are content
    std::size_t i = 0;
    const auto skipBlanks = [&] {
        while (i < s.size() && (s[i] == ' ' || s[i] == '\t')) ++i;
        keepFrom = current.size();
    };
    const auto chopBlanks = [&] {
        while (current.size() > keepFrom && (current.back() == u' ' || current.back() == u'\t')) current.pop_back();
    };
    skipBlanks();
    while (i < s.size()) {
        const char c = s[i];
        if (c == '\\') {
            if (++i >= s.size()) break;
            const char e = s[i++];
            switch (e) {
            case 'a': current += u'\a'; break;
            case 'b': current += u'\b'; break;
            case 'f': current += u'\f'; break;
            case 'n': current += u'\n'; break;
            case 'r': current += u'\r'; break;
            case 't': current += u'\t'; break;
            case 'v': current += u'\v'; break;
            case '"': case '?': case '\'': case '\\': current += static_cast<char16_t>(e); break;
            case 'x':
                if (i < s.size() && isHexDigit(static_cast<unsigned char>(s[i]))) {
                    unsigned unit = 0;
                    while (i < s.size() && isHexDigit(static_cast<unsigned char>(s[i])))
                        unit = ((unit << 4) | hexValue(s[i++])) & 0xFFFF;
                    current += static_cast<char16_t>(unit);
                }
                break;
            case '\n':
            case '\r':
                // A continued line: the break is not part of the value.
                if (i < s.size() && (s[i] == '\n' || s[i] == '\r') && s[i] != e) ++i;
                break;
            default:
                if (e >= '0' && e <= '7') {
                    unsigned unit = static_cast<unsigned>(e - '0');
                    while (i < s.size() && s[i] >= '0' && s[i] <= '7')
                        unit = ((unit << 3) | static_cast<unsigned>(s[i++] - '0')) & 0xFFFF;
                    current += static_cast<char16_t>(unit);
                }
                break;  // an unknown escape stands for nothing
            }
            keepFrom = current.size();
        } else if (c == '"') {
            ++i;
            currentIsQuoted = true;
            inQuotes = !inQuotes;
            if (!inQuotes) skipBlanks();
        } else if (c == ',' && !inQuotes) {
            if (!currentIsQuoted) chopBlanks();
            value.isList = true;
            value.list.push_back(std::move(current));
            current.clear();
            currentIsQuoted = false;
            ++i;
            skipBlanks();
        } else {
            std::size_t j = i + 1;
            while (j < s.size() && s[j] != '\\' && s[j] != '"' && s[j] != ',') ++j;
            appendUtf8AsUnits(current, s.substr(i, j - i));
            i = j;
        }
    }
    if (!currentIsQuoted) chopBlanks();
    if (value.isList) value.list.push_back(std::move(current));
    return value;
}

// What one unescaped text stands for; nothing when it is unreadable.
std::optional<StoredValue> storedValueOf(std::u16string_view text) {
    if (startsWith(text, "@")) {
        if (!text.empty() && text.back() == u')') {
            if (startsWith(text, "@ByteArray("))
                return StoredValue(StoredBytes{unitsToLatin1(text.substr(11, text.size() - 12))});
            if (startsWith(text, "@String(")) return StoredValue(unitsToUtf8(text.substr(8, text.size() - 9)));
            // Serialised Qt types carry lengths of their own, and Tavi never
            // writes them: they are not decoded at all.
            for (std::string_view serialised : {"@Variant(", "@DateTime(", "@Rect(", "@Size(", "@Point("})
                if (startsWith(text, serialised)) return std::nullopt;
            if (text == u"@Invalid()") return std::nullopt;
        }
        if (startsWith(text, "@@")) return StoredValue(unitsToUtf8(text.substr(1)));
    }
    return StoredValue(unitsToUtf8(text));
}

// A list of texts; one that holds anything else (bytes, a Qt type) is
// unreadable as a whole.
std::optional<StoredValue> storedListOf(const std::vector<Units>& items) {
    std::vector<std::string> list;
    list.reserve(items.size());
    for (const Units& item : items) {
        std::optional<StoredValue> value = storedValueOf(item);
        std::string* text = value ? std::get_if<std::string>(&*value) : nullptr;
        if (!text) return std::nullopt;
        list.push_back(std::move(*text));
    }
    return StoredValue(std::move(list));
}

bool equalsIgnoringAsciiCase(std::string_view a, std::string_view b) {
    if (a.size() != b.size()) return false;
    for (std::size_t i = 0; i < a.size(); ++i) {
        char x = a[i], y = b[i];
        if (x >= 'A' && x <= 'Z') x = static_cast<char>(x - 'A' + 'a');
        if (y >= 'A' && y <= 'Z') y = static_cast<char>(y - 'A' + 'a');
        if (x != y) return false;
    }
    return true;
}

std::string_view trimAscii(std::string_view text) {
    const auto blank = [](char c) { return c == ' ' || (c >= '\t' && c <= '\r'); };
    while (!text.empty() && blank(text.front())) text.remove_prefix(1);
    while (!text.empty() && blank(text.back())) text.remove_suffix(1);
    return text;
}

// "" for [General], "name/" for any other group.
std::string groupPrefix(std::string_view data, const Line& line) {
    const std::string_view header = data.substr(line.begin + 1, line.end - line.begin - 1);
    const std::string_view name = trimAscii(header.substr(0, header.find(']')));
    if (equalsIgnoringAsciiCase(name, "general")) return {};
    if (equalsIgnoringAsciiCase(name, "%general")) return std::string(name.substr(1)) + "/";
    return unescapeKey(name) + "/";
}

// The name a key keeps when written and read again, as QSettings names keys:
// no empty path segments (no leading, trailing or doubled slashes), and a
// group spelt "general" in any case is "General", the only spelling that
// [%General] gives back.
std::string canonicalKey(std::string_view key) {
    std::string canonical;
    for (std::size_t pos = 0; pos < key.size();) {
        const std::size_t slash = std::min(key.find('/', pos), key.size());
        if (slash > pos) {
            if (!canonical.empty()) canonical += '/';
            canonical.append(key.substr(pos, slash - pos));
        }
        pos = slash + 1;
    }
    const std::size_t slash = canonical.find('/');
    if (slash != std::string::npos && equalsIgnoringAsciiCase(std::string_view(canonical).substr(0, slash), "general"))
        canonical.replace(0, slash, "General");
    return canonical;
}

// --- Writing -----------------------------------------------------------------

void appendHexEscape(std::string& out, char32_t c) {
    out += "\\x";
    std::string digits;
    do {
        digits.insert(digits.begin(), kLowerHex[c & 0xF]);
        c >>= 4;
    } while (c != 0);
    out += digits;
}

// `characters` are scalar values for text and byte values for bytes
// (`asBytes`), where everything from 0x7F up is escaped.
void appendEscapedValue(std::string& out, const std::u32string& characters, bool asBytes) {
    const std::size_t start = out.size();
    bool needsQuotes = false;
    bool escapeNextIfHexDigit = false;  // "\x1" then "2" would read as "\x12"
    for (char32_t c : characters) {
        if (c == ';' || c == ',' || c == '=') needsQuotes = true;
        if (escapeNextIfHexDigit && c < 0x80 && isHexDigit(c)) {
            appendHexEscape(out, c);
            continue;
        }
        escapeNextIfHexDigit = false;
        switch (c) {
        case 0: out += "\\0"; escapeNextIfHexDigit = true; break;
        case '\a': out += "\\a"; break;
        case '\b': out += "\\b"; break;
        case '\f': out += "\\f"; break;
        case '\n': out += "\\n"; break;
        case '\r': out += "\\r"; break;
        case '\t': out += "\\t"; break;
        case '\v': out += "\\v"; break;
        case '"': case '\\': out += '\\'; out += static_cast<char>(c); break;
        default:
            if (c <= 0x1F || (c >= 0x7F && asBytes)) {
                appendHexEscape(out, c);
                escapeNextIfHexDigit = true;
            } else {
                appendUtf8(out, c);
            }
        }
    }
    if (needsQuotes || (out.size() > start && (out[start] == ' ' || out.back() == ' '))) {
        out.insert(start, 1, '"');
        out += '"';
    }
}

std::u32string scalarsOf(std::string_view utf8) {
    std::u32string scalars;
    for (std::size_t pos = 0; pos < utf8.size();) {
        const Utf8Scalar scalar = decodeUtf8At(utf8, pos);
        scalars += scalar.valid ? scalar.value : U'\xFFFD';
        pos += scalar.length;
    }
    return scalars;
}

// How QSettings spells a string: a NUL inside needs @String(...), and a
// leading '@' is doubled so that it cannot pass for a type.
void appendString(std::string& out, std::string_view text) {
    std::u32string characters;
    if (text.find('\0') != std::string_view::npos) characters = U"@String(" + scalarsOf(text) + U")";
    else if (!text.empty() && text.front() == '@') characters = U"@" + scalarsOf(text);
    else characters = scalarsOf(text);
    appendEscapedValue(out, characters, false);
}

void appendValue(std::string& out, const StoredValue& value) {
    std::visit(
        [&](const auto& v) {
            using T = std::decay_t<decltype(v)>;
            if constexpr (std::is_same_v<T, std::string>) {
                appendString(out, v);
            } else if constexpr (std::is_same_v<T, bool>) {
                out += v ? "true" : "false";
            } else if constexpr (std::is_same_v<T, std::int64_t>) {
                out += std::to_string(v);
            } else if constexpr (std::is_same_v<T, double>) {
                char buffer[64];
                const auto result = std::to_chars(buffer, buffer + sizeof buffer, v);
                out.append(buffer, result.ptr);
            } else if constexpr (std::is_same_v<T, StoredBytes>) {
                std::u32string characters = U"@ByteArray(";
                for (unsigned char byte : v.bytes) characters += byte;
                characters += U')';
                appendEscapedValue(out, characters, true);
            } else if (v.empty()) {
                out += "@Invalid()";  // how QSettings tells an empty list from a list of one empty string
            } else {
                for (std::size_t i = 0; i < v.size(); ++i) {
                    if (i != 0) out += ", ";
                    appendString(out, v[i]);
                }
            }
        },
        value);
}

void appendEscapedKey(std::string& out, std::string_view key) {
    for (char32_t c : scalarsOf(key)) {
        if (c == '/') {
            out += '\\';
        } else if ((c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_' ||
                   c == '-' || c == '.') {
            out += static_cast<char>(c);
        } else if (c <= 0xFF) {
            out += '%';
            out += kUpperHex[c >> 4];
            out += kUpperHex[c & 0xF];
        } else {
            Units units;
            appendUnits(units, c);
            for (char16_t unit : units) {
                out += "%U";
                for (int shift = 12; shift >= 0; shift -= 4) out += kUpperHex[(unit >> shift) & 0xF];
            }
        }
    }
}

}  // namespace

SettingsFileEntries parseSettingsFile(std::string_view data) {
    SettingsFileEntries entries;
    std::string group;
    std::size_t pos = 0;
    Line line;
    while (nextLine(data, pos, line)) {
        if (data[line.begin] == '[') {
            group = groupPrefix(data, line);
            continue;
        }
        if (line.equals == std::string_view::npos) continue;  // neither entry nor group
        std::size_t keyEnd = line.equals;
        while (keyEnd > line.begin && (data[keyEnd - 1] == ' ' || data[keyEnd - 1] == '\t')) --keyEnd;
        std::string key = canonicalKey(group + unescapeKey(data.substr(line.begin, keyEnd - line.begin)));
        const UnescapedValue value = unescapeValue(data.substr(line.equals + 1, line.end - line.equals - 1));
        std::optional<StoredValue> stored = value.isList ? storedListOf(value.list) : storedValueOf(value.text);
        // A later entry for the same key wins, an unreadable one included.
        if (stored) entries.insert_or_assign(std::move(key), std::move(*stored));
        else entries.erase(key);
    }
    return entries;
}

std::string formatSettingsFile(const SettingsFileEntries& entries) {
    std::map<std::string_view, std::vector<std::pair<std::string_view, const StoredValue*>>> groups;
    for (const auto& [key, value] : entries) {
        const std::size_t slash = key.find('/');
        const std::string_view path = key;
        if (slash == std::string::npos) groups[""].emplace_back(path, &value);
        else groups[path.substr(0, slash)].emplace_back(path.substr(slash + 1), &value);
    }
    std::string out;
    for (const auto& [group, members] : groups) {  // "" sorts first: [General] leads
        if (!out.empty()) out += '\n';
        std::string header;
        appendEscapedKey(header, group);
        if (group.empty()) out += "[General]";
        else if (equalsIgnoringAsciiCase(header, "general")) out += "[%General]";
        else out += "[" + header + "]";
        out += '\n';
        for (const auto& [name, value] : members) {
            appendEscapedKey(out, name);
            out += '=';
            appendValue(out, *value);
            out += '\n';
        }
    }
    return out;
}

}  // namespace tavi
