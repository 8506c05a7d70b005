#pragma once
// The program's own XML: a tree of elements that the SVG writer builds and
// the SVG and template readers walk, and a small tolerant parser that keeps
// the first error with its line and column and goes on, so that a broken
// document still gives the tree read so far.
//
// Text between tags is a nameless child of its own, so text and elements
// keep their order. Comments, the DOCTYPE, CDATA sections and processing
// instructions are elements named "!--", "!DOCTYPE", "![CDATA[" and "?xml",
// their raw text a child text node.

#include <utility>
#include <memory>
#include <string>
#include <vector>

#include "foundation/process.h"

class LXMLElement {
public:
    LXMLElement() = default;
    explicit LXMLElement(const char* name) { SetElementName(name); }
    LXMLElement(const LXMLElement& other) { *this = other; }
    LXMLElement& operator=(const LXMLElement& other);
    LXMLElement(LXMLElement&&) = default;
    LXMLElement& operator=(LXMLElement&&) = default;
    ~LXMLElement();

    // Null for a text node and for a document's root.
    const char* GetName() const { return name.empty() ? nullptr : name.c_str(); }
    bool IsNamed(const char* n) const { return !name.empty() && n && name == n; }
    void SetElementName(const char* n) { name = n ? n : ""; }
    // A text node's own text, else the first child's, else "".
    const char* GetElementData() const;
    void SetElementData(const char* t) { text = t ? t : ""; }
    // Appends a text node.
    void AddSimpleData(const char* t);
    // The element's only child becomes a text node of `t`.
    void SetSimpleData(const char* t);

    // Names to values, kept in ascending strcmp order of the names: an
    // element has a handful, and a sorted array of them costs far less
    // memory in a large document than a tree would.
    using Attributes = std::vector<std::pair<std::string, std::string>>;
    const Attributes& GetAttributes() const { return attributes; }
    const char* GetAttribute(const char* key) const;
    // Replaces the value of a name already set.
    void SetAttribute(const char* key, const char* value) { SetAttribute(std::string(key), value ? value : ""); }
    void SetAttribute(std::string key, std::string value);
    // Formats into 259 characters at most: a longer value is cut, so that
    // long data (a path, a picture) goes through SetAttribute.
    void SetAttributeF(const char* key, const char* format, ...)
        __attribute__((format(printf, 3, 4)));

    bool preserveWhiteSpace = false;

    // Appends `child`; ownership passes.
    LXMLElement* AddElement(LXMLElement* child);
    LXMLElement* AddElement(std::unique_ptr<LXMLElement> child);
    const std::vector<std::unique_ptr<LXMLElement>>& GetChildren() const { return children; }
    unsigned long GetChildCount() const { return static_cast<unsigned long>(children.size()); }
    LXMLElement* GetLastChild() { return children.empty() ? nullptr : children.back().get(); }
    // Takes the last child out; null when there is none.
    std::unique_ptr<LXMLElement> RemoveLastChild();
    // Hands every child over, leaving this element without.
    std::vector<std::unique_ptr<LXMLElement>> TakeChildren();
    // First child of that name, or null.
    LXMLElement* GetElement(const char* n) const;
    // The children of one name, in order.
    std::vector<LXMLElement*> NamedElements(const char* n) const;
    void Clear();

    // One line: no breaks, no indenting, attributes in name order; an
    // element without printing children closes itself ("/>").
    void SaveToBufferNoFormatting(std::string& out) const;
    // The same tree, one tab a level before each tag and a line feed behind.
    void SaveToBuffer(std::string& out, int depth = 0) const;

protected:
    std::string name;
    std::string text;
    Attributes attributes;
    std::vector<std::unique_ptr<LXMLElement>> children;

private:
    friend class LXMLLoader;
    bool PrintsAnything() const { return !name.empty() || !text.empty(); }
};

// Only "&", "<", ">" and the double quote are replaced: every other byte,
// UTF-8 included, passes as it is.
void LHTMLEncodeToWriterSimple(std::string& out, const char* text, size_t length);

class LXMLDocument : public LXMLElement {
public:
    static constexpr unsigned long kErrorSize = 260;

    // 0 with the tree read, any parse error left in `error` (which is
    // emptied first); 1 when asked to stop; 2 with a message in `error` when
    // the file is missing, could not be read or is too large for memory.
    LProcessResult LoadFromFile(LProcessInterface* process, const char* path,
                                char (&error)[kErrorSize]);
    void LoadFromBuffer(const char* text, char (&error)[kErrorSize]);
    // The same parse over `length` bytes; a zero byte ends the text early.
    void LoadFromBuffer(const char* text, size_t length, char (&error)[kErrorSize],
                        LProcessInterface* process = nullptr);
    bool SaveToFileFormatted(const char* path) const;
};

// The bytes of a file as UTF-8 text: a UTF-16 file of either byte order
// (by its mark) is converted, a UTF-8 mark dropped, anything else taken as
// it stands. False when the file cannot be read.
bool LLoadTextAutoChar(const char* path, std::string& out);
// The same on bytes in memory.
void LTextAutoChar(const unsigned char* bytes, size_t size, std::string& out);

// The memory the system could give this process now, in bytes.
unsigned long long LMemoryGetFreeHeapSize();
