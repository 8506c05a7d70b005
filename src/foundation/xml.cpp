#include "foundation/xml.h"

#include <unistd.h>

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "foundation/file.h"
#include "foundation/string.h"

// ---------------------------------------------------------------- the tree

LXMLElement::~LXMLElement() {
    // Deep chains (a thousand nested tags) must not run the stack dry in a
    // cascade of destructors: children are taken apart level by level.
    std::vector<std::unique_ptr<LXMLElement>> pending = std::move(children);
    while (!pending.empty()) {
        std::unique_ptr<LXMLElement> e = std::move(pending.back());
        pending.pop_back();
        for (auto& c : e->children)
            pending.push_back(std::move(c));
        e->children.clear();
    }
}

LXMLElement& LXMLElement::operator=(const LXMLElement& other) {
    if (this == &other)
        return *this;
    name = other.name;
    text = other.text;
    attributes = other.attributes;
    preserveWhiteSpace = other.preserveWhiteSpace;
    children.clear();
    children.reserve(other.children.size());
    for (const auto& c : other.children)
        children.push_back(std::make_unique<LXMLElement>(*c));
    return *this;
}

const char* LXMLElement::GetElementData() const {
    if (!text.empty())
        return text.c_str();
    if (!children.empty())
        return children.front()->text.c_str();
    return "";
}

void LXMLElement::AddSimpleData(const char* t) {
    auto node = std::make_unique<LXMLElement>();
    node->SetElementData(t);
    children.push_back(std::move(node));
}

void LXMLElement::SetSimpleData(const char* t) {
    children.clear();
    AddSimpleData(t);
}

namespace {

struct ByName {
    bool operator()(const std::pair<std::string, std::string>& a, const char* key) const {
        return std::strcmp(a.first.c_str(), key) < 0;
    }
};

} // namespace

const char* LXMLElement::GetAttribute(const char* key) const {
    const auto it = std::lower_bound(attributes.begin(), attributes.end(), key, ByName());
    return it == attributes.end() || it->first != key ? nullptr : it->second.c_str();
}

void LXMLElement::SetAttribute(std::string key, std::string value) {
    const auto it = std::lower_bound(attributes.begin(), attributes.end(), key.c_str(), ByName());
    if (it != attributes.end() && it->first == key) {
        it->second = std::move(value);
        return;
    }
    attributes.emplace(it, std::move(key), std::move(value));
}

void LXMLElement::SetAttributeF(const char* key, const char* format, ...) {
    char value[260];
    va_list args;
    va_start(args, format);
    std::vsnprintf(value, sizeof value, format, args);
    va_end(args);
    SetAttribute(key, value);
}

LXMLElement* LXMLElement::AddElement(LXMLElement* child) {
    return AddElement(std::unique_ptr<LXMLElement>(child));
}

LXMLElement* LXMLElement::AddElement(std::unique_ptr<LXMLElement> child) {
    children.push_back(std::move(child));
    return children.back().get();
}

std::unique_ptr<LXMLElement> LXMLElement::RemoveLastChild() {
    if (children.empty())
        return nullptr;
    std::unique_ptr<LXMLElement> last = std::move(children.back());
    children.pop_back();
    return last;
}

std::vector<std::unique_ptr<LXMLElement>> LXMLElement::TakeChildren() {
    std::vector<std::unique_ptr<LXMLElement>> taken = std::move(children);
    children.clear();
    return taken;
}

LXMLElement* LXMLElement::GetElement(const char* n) const {
    for (const auto& c : children)
        if (c->IsNamed(n))
            return c.get();
    return nullptr;
}

std::vector<LXMLElement*> LXMLElement::NamedElements(const char* n) const {
    std::vector<LXMLElement*> found;
    for (const auto& c : children)
        if (c->IsNamed(n))
            found.push_back(c.get());
    return found;
}

void LXMLElement::Clear() {
    name.clear();
    text.clear();
    attributes.clear();
    children.clear();
    preserveWhiteSpace = false;
}

void LHTMLEncodeToWriterSimple(std::string& out, const char* s, size_t length) {
    size_t plain = 0;
    for (size_t i = 0; i < length; ++i) {
        const char* with = nullptr;
        switch (s[i]) {
        case '&': with = "&amp;"; break;
        case '<': with = "&lt;"; break;
        case '>': with = "&gt;"; break;
        case '"': with = "&quot;"; break;
        default: continue;
        }
        out.append(s + plain, i - plain);
        out.append(with);
        plain = i + 1;
    }
    out.append(s + plain, length - plain);
}

namespace {

void AppendEscaped(std::string& out, const std::string& s) {
    LHTMLEncodeToWriterSimple(out, s.data(), s.size());
}

void AppendAttributes(std::string& out, const LXMLElement::Attributes& attributes,
                      const char* skip = nullptr) {
    for (const auto& [key, value] : attributes) {
        if (skip && key == skip)
            continue;
        out += ' ';
        out += key;
        out += "=\"";
        AppendEscaped(out, value);
        out += '"';
    }
}

} // namespace

void LXMLElement::SaveToBufferNoFormatting(std::string& out) const {
    if (name.empty()) {
        AppendEscaped(out, text);
        for (const auto& c : children)
            c->SaveToBufferNoFormatting(out);
        return;
    }
    out += '<';
    out += name;
    AppendAttributes(out, attributes);
    bool printing = false;
    for (const auto& c : children)
        if (c->PrintsAnything()) {
            printing = true;
            break;
        }
    if (!printing) {
        out += "/>";
        return;
    }
    out += '>';
    for (const auto& c : children)
        c->SaveToBufferNoFormatting(out);
    out += "</";
    out += name;
    out += '>';
}

void LXMLElement::SaveToBuffer(std::string& out, int depth) const {
    if (name.empty() && depth == 0 && text.empty()) {
        // A document's nameless root: only its children stand in the file.
        for (const auto& c : children)
            c->SaveToBuffer(out, 0);
        return;
    }
    out.append(static_cast<size_t>(depth), '\t');
    if (name.empty()) {
        AppendEscaped(out, text);
        out += '\n';
        return;
    }
    out += '<';
    out += name;
    // Raw markup: the text child stands as it was read.
    const char* closer = name == "!--"         ? "-->"
                         : name == "![CDATA["  ? "]]>"
                         : name == "!DOCTYPE"  ? ">"
                         : name.front() == '?' ? "?>"
                                               : nullptr;
    if (closer) {
        if (name == "?xml" && GetAttribute("version")) {
            out += " version=\"";
            AppendEscaped(out, GetAttribute("version"));
            out += '"';
            AppendAttributes(out, attributes, "version");
        } else {
            AppendAttributes(out, attributes);
        }
        for (const auto& c : children)
            out += c->text;
        out += closer;
        out += '\n';
        return;
    }
    AppendAttributes(out, attributes);
    if (children.empty()) {
        out += "/>\n";
        return;
    }
    out += ">\n";
    for (const auto& c : children)
        c->SaveToBuffer(out, depth + 1);
    out.append(static_cast<size_t>(depth), '\t');
    out += "</";
    out += name;
    out += ">\n";
}

// ---------------------------------------------------------------- the parser

class LXMLLoader {
public:
    LXMLLoader(const char* text, size_t length, char* error, LProcessInterface* process)
        : text(text), length(length), error(error), process(process) {
        error[0] = '\0';
    }

    void LoadData(LXMLElement& element);

private:
    static constexpr size_t kNameLimit = 259;
    static constexpr size_t kAmpLimit = 23;
    static constexpr size_t kStopCheckBytes = 512;
    // Deeper nesting than any real document has is refused rather than
    // allowed to run the stack out, in reading and in every walk after.
    static constexpr int kDepthLimit = 4096;

    int Peek() const { return pos < length ? static_cast<unsigned char>(text[pos]) : 0; }

    // A line feed or carriage return, with one of the other kind behind it,
    // counts as one line feed; the end of the text (or a zero byte) gives 0
    // and stays where it is.
    int Get() {
        const int c = Peek();
        if (c == 0)
            return 0;
        ++pos;
        if (c == '\n' || c == '\r') {
            const int next = Peek();
            if ((next == '\n' || next == '\r') && next != c)
                ++pos;
            ++line;
            column = 1;
            return '\n';
        }
        ++column;
        return c;
    }

    // Takes a run of plain characters whole, up to `stop` or anything that
    // needs a look of its own (an entity, a line end, the end).
    void TakeRun(std::string& out, char stop) {
        const size_t start = pos;
        while (pos < length) {
            const char c = text[pos];
            if (c == stop || c == '&' || c == '\n' || c == '\r' || c == '\0')
                break;
            ++pos;
        }
        out.append(text + start, pos - start);
        column += static_cast<int>(pos - start);
    }

    void Error(const char* format, ...) __attribute__((format(printf, 2, 3)));
    int AmpChar();
    int LoadTag(std::string& name);
    int LoadAttribute(std::string& value);
    void LoadRaw(LXMLElement& element);
    void LoadElement(LXMLElement& element, int end);
    static void CloseText(LXMLElement& element, std::string& buffer);
    bool StopRequested();

    const char* text;
    size_t length;
    size_t pos = 0;
    size_t lastStopCheck = 0;
    bool stopped = false;
    int depth = 0;
    char* error;
    int line = 1;
    int column = 1;
    LProcessInterface* process;
};

void LXMLLoader::Error(const char* format, ...) {
    if (error[0])
        return;
    char message[LXMLDocument::kErrorSize];
    va_list args;
    va_start(args, format);
    std::vsnprintf(message, sizeof message, format, args);
    va_end(args);
    char full[LXMLDocument::kErrorSize + 64];
    std::snprintf(full, sizeof full, "Ln %d, Col %d: %s", line, column, message);
    LStrCopyTruncate(error, LXMLDocument::kErrorSize, full);
}

bool LXMLLoader::StopRequested() {
    if (stopped)
        return true;
    if (process && pos - lastStopCheck >= kStopCheckBytes) {
        lastStopCheck = pos;
        stopped = process->IsToStop();
    }
    return stopped;
}

// The text behind "&" up to ";": a named entity, or a character reference
// cut to its low byte (never UTF-8); 0 after an error.
int LXMLLoader::AmpChar() {
    char entity[kAmpLimit + 1];
    size_t n = 0;
    for (;;) {
        const int c = Get();
        if (c == ';')
            break;
        if (c == 0 || c == ' ' || c == '\t' || c == '\n' || n == kAmpLimit) {
            Error("Strings starting with an ampersand (&) must end with a semicolon (;). Either "
                  "replace the '&' with '&amp;' or add a ';' at the end of the control string.");
            return 0;
        }
        entity[n++] = static_cast<char>(c);
    }
    entity[n] = '\0';
    if (!std::strcmp(entity, "amp"))
        return '&';
    if (!std::strcmp(entity, "gt"))
        return '>';
    if (!std::strcmp(entity, "lt"))
        return '<';
    if (!std::strcmp(entity, "quot"))
        return '"';
    if (!std::strcmp(entity, "apos"))
        return '\'';
    if (entity[0] != '#')
        return '&';
    const bool hex = entity[1] == 'x' || entity[1] == 'X';
    const unsigned long value = std::strtoul(entity + (hex ? 2 : 1), nullptr, hex ? 16 : 10);
    return static_cast<unsigned char>(value);
}

// A name up to tab, line feed, blank, "/", "=" or ">" outside quotes; the
// character that ended it, 0 at the end of the text.
int LXMLLoader::LoadTag(std::string& name) {
    name.clear();
    int quote = 0;
    for (;;) {
        int c = Get();
        if (c == 0)
            return 0;
        if (quote) {
            if (c == quote) {
                quote = 0;
                continue;
            }
        } else if (c == '"' || c == '\'') {
            quote = c;
            continue;
        } else if (c == '\t' || c == '\n' || c == ' ' || c == '/' || c == '=' || c == '>') {
            return c;
        }
        if (c == '&' && (c = AmpChar()) == 0)
            continue;
        if (name.size() < kNameLimit)
            name += static_cast<char>(c);
        if ((name.size() == 3 && name == "!--") ||
            (name.size() == 8 && (name == "!DOCTYPE" || name == "![CDATA[")))
            return c;
    }
}

int LXMLLoader::LoadAttribute(std::string& value) {
    value.clear();
    if (Peek() == ' ')
        Get();
    int quote = 0;
    for (;;) {
        int c = Get();
        if (c == 0)
            return 0;
        if (quote) {
            if (c == quote) {
                quote = 0;
                continue;
            }
        } else if (c == '"' || c == '\'') {
            quote = c;
            TakeRun(value, static_cast<char>(quote));
            continue;
        } else if (c == '\t' || c == '\n' || c == ' ' || c == '/' || c == '=' || c == '>') {
            return c;
        }
        if (c == '&' && (c = AmpChar()) == 0)
            continue;
        value += static_cast<char>(c);
        if (quote)
            TakeRun(value, static_cast<char>(quote));
    }
}

// A comment, CDATA section or DOCTYPE: raw text up to its closer.
void LXMLLoader::LoadRaw(LXMLElement& element) {
    const std::string& name = element.name;
    const char* closer = name == "!--" ? "-->" : name == "![CDATA[" ? "]]>" : ">";
    const size_t closerLength = std::strlen(closer);
    const bool doctype = name == "!DOCTYPE";
    std::string raw;
    int brackets = 0;
    for (;;) {
        const int c = Get();
        if (c == 0) {
            Error("(EOF) Element <%s> should be terminated with </%s>. Check you have terminated "
                  "your element properly.",
                  name.c_str(), name.c_str());
            break;
        }
        if (doctype) {
            if (c == '[')
                ++brackets;
            else if (c == ']' && brackets > 0)
                --brackets;
            else if (c == '>' && brackets == 0)
                break;
            raw += static_cast<char>(c);
            continue;
        }
        raw += static_cast<char>(c);
        if (raw.size() >= closerLength &&
            !raw.compare(raw.size() - closerLength, closerLength, closer)) {
            raw.resize(raw.size() - closerLength);
            break;
        }
    }
    if (!raw.empty())
        element.AddSimpleData(raw.c_str());
}

void LXMLLoader::LoadElement(LXMLElement& element, int end) {
    const std::string& name = element.name;
    if (name[0] == '!') {
        const bool selfEnding = name == "!--" || name == "!DOCTYPE" || name == "![CDATA[";
        if (selfEnding || end != '>')
            LoadRaw(element);
        return;
    }
    bool empty = false;
    std::string key, value;
    while (end != '>') {
        if (end == 0) {
            Error("Tag <%s> does not have a closing '>'", name.c_str());
            return;
        }
        if (end == '/')
            empty = true;
        end = LoadTag(key);
        if (end == ' ' && Peek() == '=')
            end = Get();
        value.clear();
        if (end == '=')
            end = LoadAttribute(value);
        if (key.empty())
            continue;
        if (key == "xml:space") {
            element.preserveWhiteSpace = true;
            continue;
        }
        // What closes "?xml" ("?>") leaves its "?" on the last value.
        if (end == '>' && !value.empty() && value.back() == '?')
            value.pop_back();
        element.SetAttribute(key, std::move(value));
    }
    if (!empty && name[0] != '?')
        LoadData(element);
}

void LXMLLoader::CloseText(LXMLElement& element, std::string& buffer) {
    if (buffer.empty())
        return;
    if (element.preserveWhiteSpace) {
        element.AddSimpleData(buffer.c_str());
    } else {
        const char* blanks = " \t\n\r";
        const size_t first = buffer.find_first_not_of(blanks);
        if (first != std::string::npos) {
            const size_t last = buffer.find_last_not_of(blanks);
            element.AddSimpleData(buffer.substr(first, last - first + 1).c_str());
        }
    }
    buffer.clear();
}

void LXMLLoader::LoadData(LXMLElement& element) {
    element.children.clear();
    std::string buffer;
    std::string tag;
    for (;;) {
        if (StopRequested())
            break;
        TakeRun(buffer, '<');
        int c = Get();
        if (c == 0) {
            if (!element.name.empty())
                Error("(EOF) Element <%s> should be terminated with </%s>. Check you have "
                      "terminated your element properly.",
                      element.name.c_str(), element.name.c_str());
            break;
        }
        if (c != '<') {
            if (c == '&' && (c = AmpChar()) == 0)
                continue;
            buffer += static_cast<char>(c);
            continue;
        }
        int end = LoadTag(tag);
        if (!tag.empty()) {
            CloseText(element, buffer);
            if (depth == kDepthLimit) {
                Error("Elements are nested more than %d deep.", kDepthLimit);
                stopped = true;
                break;
            }
            auto child = std::make_unique<LXMLElement>();
            child->name = tag;
            child->preserveWhiteSpace = element.preserveWhiteSpace;
            LXMLElement& added = *element.AddElement(std::move(child));
            ++depth;
            LoadElement(added, end);
            --depth;
            continue;
        }
        if (end == '/') {
            end = LoadTag(tag);
            if (element.name.empty())
                Error("Misplaced </%s> which does not match a <%s>.", tag.c_str(), tag.c_str());
            else if (tag != element.name)
                Error("Element <%s> should be terminated with </%s>, was with %s. Check you have "
                      "terminated your element properly.",
                      element.name.c_str(), element.name.c_str(), tag.c_str());
            while (end != '>' && end != 0)
                end = Get();
        } else {
            Error("Misplaced < without name. Use &lt; instead of < if appropriate.");
        }
        break;
    }
    CloseText(element, buffer);
}

// ---------------------------------------------------------------- documents

void LXMLDocument::LoadFromBuffer(const char* t, char (&errorText)[kErrorSize]) {
    LoadFromBuffer(t, t ? std::strlen(t) : 0, errorText);
}

void LXMLDocument::LoadFromBuffer(const char* t, size_t size, char (&errorText)[kErrorSize],
                                  LProcessInterface* process) {
    Clear();
    LXMLLoader loader(t ? t : "", t ? size : 0, errorText, process);
    loader.LoadData(*this);
}

LProcessResult LXMLDocument::LoadFromFile(LProcessInterface* process, const char* path,
                                          char (&errorText)[kErrorSize]) {
    errorText[0] = '\0';
    Clear();
    LReadFile probe;
    if (!path || !probe.Open(path)) {
        std::snprintf(errorText, kErrorSize, "File does not exist: %s", path ? path : "");
        return LProcessResultError;
    }
    // The tree is built while the whole text is in memory.
    const unsigned long long size = probe.GetFileSizeBytes64();
    probe.Close();
    if (size * 20 > LMemoryGetFreeHeapSize()) {
        std::snprintf(errorText, kErrorSize, "Not enough memory available to load %s", path);
        return LProcessResultError;
    }
    if (process && process->IsToStop())
        return LProcessResultStopped;
    std::string content;
    if (!LLoadTextAutoChar(path, content)) {
        std::snprintf(errorText, kErrorSize, "Cannot open xml file: %s", path);
        return LProcessResultError;
    }
    if (process && process->IsToStop())
        return LProcessResultStopped;
    LoadFromBuffer(content.data(), content.size(), errorText, process);
    return process && process->IsToStop() ? LProcessResultStopped : LProcessResultOk;
}

bool LXMLDocument::SaveToFileFormatted(const char* path) const {
    std::string out;
    SaveToBuffer(out);
    LWriteFile file;
    if (!file.Open(path))
        return false;
    const bool written = file.Write(out.data(), out.size()) == out.size();
    return file.Close() && written;
}

// ---------------------------------------------------------------- text files

namespace {

void AppendUtf8(std::string& out, unsigned long code) {
    if (code < 0x80) {
        out += static_cast<char>(code);
    } else if (code < 0x800) {
        out += static_cast<char>(0xC0 | (code >> 6));
        out += static_cast<char>(0x80 | (code & 0x3F));
    } else if (code < 0x10000) {
        out += static_cast<char>(0xE0 | (code >> 12));
        out += static_cast<char>(0x80 | ((code >> 6) & 0x3F));
        out += static_cast<char>(0x80 | (code & 0x3F));
    } else {
        out += static_cast<char>(0xF0 | (code >> 18));
        out += static_cast<char>(0x80 | ((code >> 12) & 0x3F));
        out += static_cast<char>(0x80 | ((code >> 6) & 0x3F));
        out += static_cast<char>(0x80 | (code & 0x3F));
    }
}

} // namespace

void LTextAutoChar(const unsigned char* bytes, size_t size, std::string& out) {
    out.clear();
    const bool little = size >= 2 && bytes[0] == 0xFF && bytes[1] == 0xFE;
    const bool big = size >= 2 && bytes[0] == 0xFE && bytes[1] == 0xFF;
    if (!little && !big) {
        const size_t skip = size >= 3 && bytes[0] == 0xEF && bytes[1] == 0xBB && bytes[2] == 0xBF ? 3 : 0;
        out.assign(reinterpret_cast<const char*>(bytes) + skip, size - skip);
        return;
    }
    out.reserve(size);
    auto unit = [&](size_t i) -> unsigned long {
        return little ? bytes[i] | (bytes[i + 1] << 8) : (bytes[i] << 8) | bytes[i + 1];
    };
    for (size_t i = 2; i + 1 < size; i += 2) {
        unsigned long code = unit(i);
        if (code >= 0xD800 && code < 0xDC00 && i + 3 < size) {
            const unsigned long low = unit(i + 2);
            if (low >= 0xDC00 && low < 0xE000) {
                code = 0x10000 + ((code - 0xD800) << 10) + (low - 0xDC00);
                i += 2;
            }
        }
        // A lone surrogate is no character: it stands as the replacement one.
        if (code >= 0xD800 && code < 0xE000)
            code = 0xFFFD;
        AppendUtf8(out, code);
    }
}

bool LLoadTextAutoChar(const char* path, std::string& out) {
    LReadFile file;
    if (!path || !file.Open(path))
        return false;
    const unsigned long long size = file.GetFileSizeBytes64();
    std::string bytes;
    bytes.resize(static_cast<size_t>(size));
    if (file.Read(bytes.data(), static_cast<unsigned long>(size)) != size)
        return false;
    const unsigned char* raw = reinterpret_cast<const unsigned char*>(bytes.data());
    const bool utf16 = size >= 2 && ((raw[0] == 0xFF && raw[1] == 0xFE) || (raw[0] == 0xFE && raw[1] == 0xFF));
    if (!utf16 && !(size >= 3 && raw[0] == 0xEF && raw[1] == 0xBB && raw[2] == 0xBF)) {
        out = std::move(bytes);
        return true;
    }
    LTextAutoChar(raw, bytes.size(), out);
    return true;
}

unsigned long long LMemoryGetFreeHeapSize() {
    if (std::FILE* f = std::fopen("/proc/meminfo", "r")) {
        char line[256];
        unsigned long long kb = 0;
        bool found = false;
        while (!found && std::fgets(line, sizeof line, f))
            found = std::sscanf(line, "MemAvailable: %llu kB", &kb) == 1;
        std::fclose(f);
        if (found)
            return kb * 1024;
    }
    const long pages = sysconf(_SC_AVPHYS_PAGES), page = sysconf(_SC_PAGESIZE);
    return pages > 0 && page > 0 ? static_cast<unsigned long long>(pages) * page : 0;
}
