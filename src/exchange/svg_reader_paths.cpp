// The SVG reader's path data and point lists.

#include <algorithm>
#include <charconv>
#include <cstring>

#include "exchange/svg_reader_p.h"

namespace kvsvgin {

namespace {

bool IsSeparator(char c) { return c == ' ' || c == ',' || c == '\t' || c == '\n' || c == '\r'; }
bool StartsNumber(char c) { return (c >= '0' && c <= '9') || c == '.' || c == '-' || c == '+'; }

} // namespace

void Tokenizer::SkipSeparators() {
    while (IsSeparator(*p))
        ++p;
}

char Tokenizer::GetCommand(char previous) {
    SkipSeparators();
    const char c = *p;
    if (c && std::strchr("MmZzLlHhVvCcSsQqTtAaFfPp", c)) {
        ++p;
        return c;
    }
    // Numbers repeat the last command, a move's as lines. A close takes no
    // numbers: repeated, it would stand on them for ever.
    if (StartsNumber(c) && previous && previous != 'Z' && previous != 'z')
        return previous == 'M' ? 'L' : previous == 'm' ? 'l' : previous;
    return 0;
}

bool Tokenizer::GetArg(float& value) {
    SkipSeparators();
    const char* start = p;
    const char* q = p;
    bool dot = false;
    for (; *q; ++q) {
        const char c = *q;
        if (c == '+' || c == '-') {
            // A sign anywhere but first or behind an exponent starts the
            // next number: "10-5" is two.
            if (q != start && q[-1] != 'e' && q[-1] != 'E')
                break;
        } else if (c == '.') {
            if (dot)
                break;
            dot = true;
        } else if (c == 'e' || c == 'E') {
            // An exponent only with a digit or sign behind it.
            if (!(q[1] == '-' || q[1] == '+' || (q[1] >= '0' && q[1] <= '9')))
                break;
            dot = true;
        } else if (c < '0' || c > '9') {
            break;
        }
    }
    const char* first = *start == '+' ? start + 1 : start;
    double v = 0;
    const auto [end, error] = std::from_chars(first, q, v);
    if (end == first || error == std::errc::invalid_argument)
        return false;
    if (error == std::errc::result_out_of_range)
        v = *first == '-' ? -1.0e6 : 1.0e6;
    value = static_cast<float>(std::clamp(v, -1.0e6, 1.0e6));
    p = end;
    SkipSeparators();
    return true;
}

bool LSVGReader::DecodePoints(const char* text, std::vector<LPointTemplate<float>>& points) {
    Tokenizer t(text);
    while (!t.AtEnd()) {
        float x, y;
        if (!t.GetArg(x) || !t.GetArg(y))
            return false;
        points.push_back({x, y});
    }
    return !points.empty();
}

void LSVGReader::DecodePathData(const char* d) {
    auto path = std::make_unique<LVectorImagePath>();
    CopyGeneralAttributes(*path, true);
    State& s = Top();
    float x = s.x.value, y = s.y.value;
    float startX = x, startY = y;
    Tokenizer t(d);
    char command = 0;
    auto add = [&](int type, std::initializer_list<float> args) {
        path->commands.push_back({type, std::vector<float>(args)});
    };
    for (;;) {
        command = t.GetCommand(command);
        if (!command)
            break;
        const bool relative = command >= 'a';
        const float ox = relative ? x : 0, oy = relative ? y : 0;
        float a[7];
        auto args = [&](int n) {
            for (int i = 0; i < n; ++i)
                if (!t.GetArg(a[i]))
                    return false;
            return true;
        };
        bool ok = true;
        switch (command) {
        case 'M':
        case 'm':
            if ((ok = args(2))) {
                x = a[0] + ox;
                y = a[1] + oy;
                startX = x;
                startY = y;
                add(LVectorImagePathMove, {x, y});
                UpdateBounds(x, y);
            }
            break;
        case 'L':
        case 'l':
            if ((ok = args(2))) {
                x = a[0] + ox;
                y = a[1] + oy;
                add(LVectorImagePathLine, {x, y});
                UpdateBounds(x, y);
            }
            break;
        case 'H':
        case 'h':
            if ((ok = args(1))) {
                x = a[0] + ox;
                add(LVectorImagePathLine, {x, y});
                UpdateBounds(x, y);
            }
            break;
        case 'V':
        case 'v':
            if ((ok = args(1))) {
                y = a[0] + oy;
                add(LVectorImagePathLine, {x, y});
                UpdateBounds(x, y);
            }
            break;
        case 'C':
        case 'c':
            if ((ok = args(6))) {
                for (int i = 0; i < 6; i += 2) {
                    a[i] += ox;
                    a[i + 1] += oy;
                    UpdateBounds(a[i], a[i + 1]);
                }
                add(LVectorImagePathCubic, {a[0], a[1], a[2], a[3], a[4], a[5]});
                x = a[4];
                y = a[5];
            }
            break;
        case 'S':
        case 's':
        case 'Q':
        case 'q':
            if ((ok = args(4))) {
                for (int i = 0; i < 4; i += 2) {
                    a[i] += ox;
                    a[i + 1] += oy;
                    UpdateBounds(a[i], a[i + 1]);
                }
                add(command == 'S' || command == 's' ? LVectorImagePathSmoothCubic
                                                     : LVectorImagePathQuadratic,
                    {a[0], a[1], a[2], a[3]});
                x = a[2];
                y = a[3];
            }
            break;
        case 'T':
        case 't':
            if ((ok = args(2))) {
                x = a[0] + ox;
                y = a[1] + oy;
                add(LVectorImagePathSmoothQuadratic, {x, y});
                UpdateBounds(x, y);
            }
            break;
        case 'A':
        case 'a':
            if ((ok = args(7))) {
                x = a[5] + ox;
                y = a[6] + oy;
                add(LVectorImagePathArc, {a[0], a[1], a[2], a[3], a[4], x, y});
                UpdateBounds(x, y);
            }
            break;
        case 'Z':
        case 'z':
            add(LVectorImagePathClose, {});
            x = startX;
            y = startY;
            break;
        default:
            // "F" and "P" are letters of no command.
            ok = false;
            break;
        }
        // A missing number ends the path; what was made stays.
        if (!ok)
            break;
    }
    Add(std::move(path));
}

} // namespace kvsvgin

LBoundingBox2T<float> LVectorImagePath::GetPointBounds() const {
    LBoundingBox2T<float> box;
    bool any = false;
    for (const LVectorImagePathCommand& c : commands) {
        // An arc's radii, angle and flags are no points: its end is.
        const size_t from = c.type == LVectorImagePathArc ? 5 : 0;
        for (size_t i = from; i + 1 < c.args.size(); i += 2) {
            const LBoundingBox2T<float> p(c.args[i], c.args[i + 1], c.args[i], c.args[i + 1]);
            if (any)
                box += p;
            else
                box = p;
            any = true;
        }
    }
    return box;
}
