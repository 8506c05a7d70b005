#pragma once
// The fonts of the system, as fontconfig knows them. A face name that no
// installed font carries is still usable: the text layout asks fontconfig,
// which answers with its closest match ("Arial" finds a metric twin where
// one is installed), never with nothing.

#include <string>
#include <vector>

// The family names of the installed fonts, each once, sorted byte by byte:
// the order a font menu lists them in.
class LFontsInstalledIterator {
public:
    LFontsInstalledIterator();

    bool IsValid() const { return index < families.size(); }
    const char* Get() const { return families[index].c_str(); }
    void Next() { ++index; }

private:
    std::vector<std::string> families;
    std::size_t index = 0;
};

// The family fontconfig draws `face` with: the face itself when it is
// installed, otherwise the substitute it chooses. Empty only when fontconfig
// knows no font at all.
std::string LFontResolveFamily(const char* face);
