// The SVG reader's values: numbers with their units, colours and transforms.

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstring>

#include "exchange/svg_reader_p.h"

LVectorImageMatrix LVectorImageMatrix::Then(const LVectorImageMatrix& m) const {
    LVectorImageMatrix r;
    r.a = a * m.a + c * m.b;
    r.b = b * m.a + d * m.b;
    r.c = a * m.c + c * m.d;
    r.d = b * m.c + d * m.d;
    r.e = a * m.e + c * m.f + e;
    r.f = b * m.e + d * m.f + f;
    return r;
}

namespace kvsvgin {

namespace {

// Beyond a million units nothing is drawn anyway, and the editor's integer
// conversions of such numbers must not overflow.
constexpr double kLimit = 1.0e6;

bool IsSeparator(char c) { return c == ' ' || c == ',' || c == '\t' || c == '\n' || c == '\r'; }

// The 147 colour keywords, in strcmp order for the binary search.
struct NamedColour {
    const char* name;
    unsigned char r, g, b;
};
constexpr NamedColour kNamedColours[] = {
    {"aliceblue", 240, 248, 255}, {"antiquewhite", 250, 235, 215}, {"aqua", 0, 255, 255},
    {"aquamarine", 127, 255, 212}, {"azure", 240, 255, 255}, {"beige", 245, 245, 220},
    {"bisque", 255, 228, 196}, {"black", 0, 0, 0}, {"blanchedalmond", 255, 235, 205},
    {"blue", 0, 0, 255}, {"blueviolet", 138, 43, 226}, {"brown", 165, 42, 42},
    {"burlywood", 222, 184, 135}, {"cadetblue", 95, 158, 160}, {"chartreuse", 127, 255, 0},
    {"chocolate", 210, 105, 30}, {"coral", 255, 127, 80}, {"cornflowerblue", 100, 149, 237},
    {"cornsilk", 255, 248, 220}, {"crimson", 220, 20, 60}, {"cyan", 0, 255, 255},
    {"darkblue", 0, 0, 139}, {"darkcyan", 0, 139, 139}, {"darkgoldenrod", 184, 134, 11},
    {"darkgray", 169, 169, 169}, {"darkgreen", 0, 100, 0}, {"darkgrey", 169, 169, 169},
    {"darkkhaki", 189, 183, 107}, {"darkmagenta", 139, 0, 139}, {"darkolivegreen", 85, 107, 47},
    {"darkorange", 255, 140, 0}, {"darkorchid", 153, 50, 204}, {"darkred", 139, 0, 0},
    {"darksalmon", 233, 150, 122}, {"darkseagreen", 143, 188, 143}, {"darkslateblue", 72, 61, 139},
    {"darkslategray", 47, 79, 79}, {"darkslategrey", 47, 79, 79}, {"darkturquoise", 0, 206, 209},
    {"darkviolet", 148, 0, 211}, {"deeppink", 255, 20, 147}, {"deepskyblue", 0, 191, 255},
    {"dimgray", 105, 105, 105}, {"dimgrey", 105, 105, 105}, {"dodgerblue", 30, 144, 255},
    {"firebrick", 178, 34, 34}, {"floralwhite", 255, 250, 240}, {"forestgreen", 34, 139, 34},
    {"fuchsia", 255, 0, 255}, {"gainsboro", 220, 220, 220}, {"ghostwhite", 248, 248, 255},
    {"gold", 255, 215, 0}, {"goldenrod", 218, 165, 32}, {"gray", 128, 128, 128},
    {"green", 0, 128, 0}, {"greenyellow", 173, 255, 47}, {"grey", 128, 128, 128},
    {"honeydew", 240, 255, 240}, {"hotpink", 255, 105, 180}, {"indianred", 205, 92, 92},
    {"indigo", 75, 0, 130}, {"ivory", 255, 255, 240}, {"khaki", 240, 230, 140},
    {"lavender", 230, 230, 250}, {"lavenderblush", 255, 240, 245}, {"lawngreen", 124, 252, 0},
    {"lemonchiffon", 255, 250, 205}, {"lightblue", 173, 216, 230}, {"lightcoral", 240, 128, 128},
    {"lightcyan", 224, 255, 255}, {"lightgoldenrodyellow", 250, 250, 210},
    {"lightgray", 211, 211, 211}, {"lightgreen", 144, 238, 144}, {"lightgrey", 211, 211, 211},
    {"lightpink", 255, 182, 193}, {"lightsalmon", 255, 160, 122}, {"lightseagreen", 32, 178, 170},
    {"lightskyblue", 135, 206, 250}, {"lightslategray", 119, 136, 153},
    {"lightslategrey", 119, 136, 153}, {"lightsteelblue", 176, 196, 222},
    {"lightyellow", 255, 255, 224}, {"lime", 0, 255, 0}, {"limegreen", 50, 205, 50},
    {"linen", 250, 240, 230}, {"magenta", 255, 0, 255}, {"maroon", 128, 0, 0},
    {"mediumaquamarine", 102, 205, 170}, {"mediumblue", 0, 0, 205}, {"mediumorchid", 186, 85, 211},
    {"mediumpurple", 147, 112, 219}, {"mediumseagreen", 60, 179, 113},
    {"mediumslateblue", 123, 104, 238}, {"mediumspringgreen", 0, 250, 154},
    {"mediumturquoise", 72, 209, 204}, {"mediumvioletred", 199, 21, 133},
    {"midnightblue", 25, 25, 112}, {"mintcream", 245, 255, 250}, {"mistyrose", 255, 228, 225},
    {"moccasin", 255, 228, 181}, {"navajowhite", 255, 222, 173}, {"navy", 0, 0, 128},
    {"oldlace", 253, 245, 230}, {"olive", 128, 128, 0}, {"olivedrab", 107, 142, 35},
    {"orange", 255, 165, 0}, {"orangered", 255, 69, 0}, {"orchid", 218, 112, 214},
    {"palegoldenrod", 238, 232, 170}, {"palegreen", 152, 251, 152}, {"paleturquoise", 175, 238, 238},
    {"palevioletred", 219, 112, 147}, {"papayawhip", 255, 239, 213}, {"peachpuff", 255, 218, 185},
    {"peru", 205, 133, 63}, {"pink", 255, 192, 203}, {"plum", 221, 160, 221},
    {"powderblue", 176, 224, 230}, {"purple", 128, 0, 128}, {"red", 255, 0, 0},
    {"rosybrown", 188, 143, 143}, {"royalblue", 65, 105, 225}, {"saddlebrown", 139, 69, 19},
    {"salmon", 250, 128, 114}, {"sandybrown", 244, 164, 96}, {"seagreen", 46, 139, 87},
    {"seashell", 255, 245, 238}, {"sienna", 160, 82, 45}, {"silver", 192, 192, 192},
    {"skyblue", 135, 206, 235}, {"slateblue", 106, 90, 205}, {"slategray", 112, 128, 144},
    {"slategrey", 112, 128, 144}, {"snow", 255, 250, 250}, {"springgreen", 0, 255, 127},
    {"steelblue", 70, 130, 180}, {"tan", 210, 180, 140}, {"teal", 0, 128, 128},
    {"thistle", 216, 191, 216}, {"tomato", 255, 99, 71}, {"turquoise", 64, 224, 208},
    {"violet", 238, 130, 238}, {"wheat", 245, 222, 179}, {"white", 255, 255, 255},
    {"whitesmoke", 245, 245, 245}, {"yellow", 255, 255, 0}, {"yellowgreen", 154, 205, 50},
};
static_assert(sizeof kNamedColours / sizeof kNamedColours[0] == 147);

unsigned char ToByte(float v) {
    return static_cast<unsigned char>(std::clamp(v, 0.0f, 255.0f));
}

// The numbers inside the brackets behind `p` (at most `max`); `p` moves
// behind the closing bracket. -1 without an opening bracket.
int ReadBracket(const char*& p, float* args, int max) {
    while (IsSeparator(*p))
        ++p;
    if (*p != '(')
        return -1;
    ++p;
    int count = 0;
    for (;;) {
        float v;
        bool found;
        const size_t used = DecodeNumericValue(p, v, found, nullptr, 0.01f, 16.0f, 96.0f);
        if (!found)
            break;
        p += used;
        if (count < max)
            args[count] = v;
        ++count;
    }
    while (*p && *p != ')')
        ++p;
    if (*p == ')')
        ++p;
    return std::min(count, max);
}

} // namespace

size_t DecodeNumericValue(const char* text, float& value, bool& found, bool* isPercent,
                          float percentFactor, float fontSize, float dpi) {
    found = false;
    if (isPercent)
        *isPercent = false;
    const char* p = text;
    while (IsSeparator(*p))
        ++p;
    const char* start = p;
    while (*p && std::strchr("0123456789+-.eE", *p)) {
        if ((p[0] == 'e' || p[0] == 'E') && (p[1] == 'm' || p[1] == 'x'))
            break;
        ++p;
    }
    if (p == start)
        return static_cast<size_t>(p - text);
    const char* first = *start == '+' ? start + 1 : start;
    double number = 0;
    const auto [end, error] = std::from_chars(first, p, number);
    if (error == std::errc::invalid_argument || end == first)
        return static_cast<size_t>(p - text);
    if (error == std::errc::result_out_of_range)
        number = *first == '-' ? -kLimit : kLimit;
    number = std::clamp(number, -kLimit, kLimit);
    float v = static_cast<float>(number);
    // The unit, by the characters that follow.
    auto unit = [&](const char* u) {
        const size_t n = std::strlen(u);
        if (std::strncmp(p, u, n) != 0)
            return false;
        p += n;
        return true;
    };
    if (unit("px")) {
    } else if (unit("em")) {
        v *= fontSize;
    } else if (unit("ex")) {
        // The number is dropped: half the font size whatever was written.
        v = 0.5f * fontSize;
    } else if (unit("pt")) {
        v *= dpi / 72.0f;
    } else if (unit("pc")) {
        v *= dpi / 72.0f * 12.0f;
    } else if (unit("cm")) {
        v = v / 2.54f * dpi;
    } else if (unit("mm")) {
        v = v / 25.4f * dpi;
    } else if (unit("in")) {
        v *= dpi;
    } else if (unit("%")) {
        v *= percentFactor;
        if (isPercent)
            *isPercent = true;
    } else if (std::isalpha(static_cast<unsigned char>(*p))) {
        return static_cast<size_t>(p - text);
    }
    value = v;
    found = true;
    return static_cast<size_t>(p - text);
}

bool DecodeColour(const char* text, LGuiColorAlpha& colour) {
    const char* p = text;
    while (*p == ' ' || *p == '\t' || *p == '\n' || *p == '\r')
        ++p;
    if (*p == '#') {
        size_t n = 1;
        while (std::isxdigit(static_cast<unsigned char>(p[n])))
            ++n;
        if (n != 4 && n != 7)
            return false;
        unsigned int v = 0;
        std::from_chars(p + 1, p + n, v, 16);
        if (n == 4)
            colour = LGuiColorAlpha(static_cast<unsigned char>(((v >> 8) & 0xF) * 0x11),
                                    static_cast<unsigned char>(((v >> 4) & 0xF) * 0x11),
                                    static_cast<unsigned char>((v & 0xF) * 0x11), 255);
        else
            colour = LGuiColorAlpha(static_cast<unsigned char>(v >> 16),
                                    static_cast<unsigned char>(v >> 8),
                                    static_cast<unsigned char>(v), 255);
        return true;
    }
    if (!std::strncmp(p, "rgb", 3)) {
        p += 3;
        float c[3] = {0, 0, 0};
        if (ReadBracket(p, c, 3) != 3)
            return false;
        colour = LGuiColorAlpha(ToByte(c[0]), ToByte(c[1]), ToByte(c[2]), 255);
        return true;
    }
    if (!std::strncmp(p, "inherit", 7))
        return false;
    size_t n = 0;
    while (std::isalpha(static_cast<unsigned char>(p[n])))
        ++n;
    if (n == 0 || n > 21)
        return false;
    const std::string name(p, n);
    const auto* end = std::end(kNamedColours);
    const auto* found = std::lower_bound(std::begin(kNamedColours), end, name,
                                         [](const NamedColour& c, const std::string& key) {
                                             return std::strcmp(c.name, key.c_str()) < 0;
                                         });
    if (found == end || name != found->name)
        return false;
    colour = LGuiColorAlpha(found->r, found->g, found->b, 255);
    return true;
}

void DecodeTransform(const char* text, LVectorImageMatrix& matrix) {
    const char* p = text;
    while (*p) {
        auto word = [&](const char* w) {
            const size_t n = std::strlen(w);
            if (std::strncmp(p, w, n) != 0)
                return false;
            p += n;
            return true;
        };
        if (!std::islower(static_cast<unsigned char>(*p)) || !std::strchr("mtrs", *p)) {
            ++p;
            continue;
        }
        float a[6] = {0, 0, 0, 0, 0, 0};
        LVectorImageMatrix m;
        if (word("matrix")) {
            if (ReadBracket(p, a, 6) == 6)
                m = {a[0], a[1], a[2], a[3], a[4], a[5]};
        } else if (word("translate")) {
            const int n = ReadBracket(p, a, 2);
            if (n >= 1)
                m = {1, 0, 0, 1, a[0], n == 2 ? a[1] : 0};
        } else if (word("scale")) {
            const int n = ReadBracket(p, a, 2);
            if (n >= 1)
                m = {a[0], 0, 0, n == 2 ? a[1] : a[0], 0, 0};
        } else if (word("rotate")) {
            const int n = ReadBracket(p, a, 3);
            const float r = a[0] * 0.017453292f;
            const LVectorImageMatrix turn{std::cos(r), std::sin(r), -std::sin(r), std::cos(r), 0, 0};
            if (n == 1)
                m = turn;
            else if (n == 3)
                m = LVectorImageMatrix{1, 0, 0, 1, a[1], a[2]}.Then(turn).Then({1, 0, 0, 1, -a[1], -a[2]});
        } else if (word("skewX")) {
            // Decoded as the skew it is and the scan goes on: left without a
            // case, the scan would stand still here for ever.
            if (ReadBracket(p, a, 1) == 1)
                m = {1, 0, std::tan(a[0] * 0.017453292f), 1, 0, 0};
        } else if (word("skewY")) {
            if (ReadBracket(p, a, 1) == 1)
                m = {1, std::tan(a[0] * 0.017453292f), 0, 1, 0, 0};
        } else {
            ++p;
            continue;
        }
        matrix = matrix.Then(m);
    }
}

} // namespace kvsvgin
