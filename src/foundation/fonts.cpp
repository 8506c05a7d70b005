#include "foundation/fonts.h"

#include <fontconfig/fontconfig.h>

#include <algorithm>

LFontsInstalledIterator::LFontsInstalledIterator() {
    FcPattern* pattern = FcPatternCreate();
    FcObjectSet* objects = FcObjectSetBuild(FC_FAMILY, nullptr);
    FcFontSet* set = pattern && objects ? FcFontList(nullptr, pattern, objects) : nullptr;
    for (int i = 0; set && i < set->nfont; ++i) {
        FcChar8* family = nullptr;
        // A font may carry its family in several languages; the first is
        // the name it is known by.
        if (FcPatternGetString(set->fonts[i], FC_FAMILY, 0, &family) == FcResultMatch && family)
            families.emplace_back(reinterpret_cast<const char*>(family));
    }
    if (set)
        FcFontSetDestroy(set);
    if (objects)
        FcObjectSetDestroy(objects);
    if (pattern)
        FcPatternDestroy(pattern);
    std::sort(families.begin(), families.end());
    families.erase(std::unique(families.begin(), families.end()), families.end());
}

std::string LFontResolveFamily(const char* face) {
    std::string result;
    FcPattern* pattern = FcNameParse(reinterpret_cast<const FcChar8*>(""));
    if (!pattern)
        return result;
    if (face && *face)
        FcPatternAddString(pattern, FC_FAMILY, reinterpret_cast<const FcChar8*>(face));
    FcConfigSubstitute(nullptr, pattern, FcMatchPattern);
    FcDefaultSubstitute(pattern);
    FcResult status = FcResultNoMatch;
    if (FcPattern* match = FcFontMatch(nullptr, pattern, &status)) {
        FcChar8* family = nullptr;
        if (FcPatternGetString(match, FC_FAMILY, 0, &family) == FcResultMatch && family)
            result = reinterpret_cast<const char*>(family);
        FcPatternDestroy(match);
    }
    FcPatternDestroy(pattern);
    return result;
}
