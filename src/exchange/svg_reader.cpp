// The SVG reader's walk: the states children inherit, the attributes, and
// the shapes, gradients and uses they make; texts and pictures have a file
// of their own.

#include "exchange/svg_reader.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#include "exchange/svg_reader_p.h"
#include "foundation/file.h"
#include "imaging/image_codec.h"

namespace kvsvgin {

namespace {

bool Is(const char* a, const char* b) { return std::strcmp(a, b) == 0; }

std::string Trim(const std::string& s) {
    const size_t a = s.find_first_not_of(" \t\r\n");
    if (a == std::string::npos)
        return {};
    const size_t b = s.find_last_not_of(" \t\r\n");
    return s.substr(a, b - a + 1);
}

// The id of "url(#id)" or "#id"; empty for anything else.
std::string LocalId(const char* value) {
    const char* hash = std::strchr(value, '#');
    if (!hash)
        return {};
    std::string id(hash + 1);
    const size_t close = id.find(')');
    if (close != std::string::npos)
        id.erase(close);
    return Trim(id);
}

// The encoding a data address names ("png", "jpeg"), PNG when unknown.
int EncodingOfType(const std::string& type) {
    if (type == "jpeg" || type == "jpg")
        return LImage::EncodingJPEG;
    if (type == "tiff" || type == "tif")
        return LImage::EncodingTIFF;
    if (type == "bmp")
        return LImage::EncodingBMP;
    return LImage::EncodingPNG;
}

// The text a text element starts with: its leading text node, or a leading
// CDATA section's.
const char* LeadingText(const LXMLElement& e) {
    const auto& children = e.GetChildren();
    if (children.empty())
        return nullptr;
    const LXMLElement& first = *children.front();
    if (!first.GetName())
        return first.GetElementData();
    if (first.IsNamed("![CDATA["))
        return first.GetElementData();
    return nullptr;
}

} // namespace

// ---------------------------------------------------------------- the walk

void LSVGReader::Read(const LXMLElement& document) {
    docWidth = 1024;
    docHeight = 768;
    GetInfo(document);
    Walk(document);
    if (!sizeValid && bounds.x2 > 0 && bounds.y2 > 0) {
        docWidth = std::round(bounds.x2);
        docHeight = std::round(bounds.y2);
    }
    image.pixelSizeX = image.pixelSizeY = 0.26458332f;
    image.width = docWidth;
    image.height = docHeight;
}

void LSVGReader::GetInfo(const LXMLElement& document) {
    for (const auto& child : document.GetChildren()) {
        if (child->IsNamed("svg")) {
            Push();
            Top().mode = kModeIdsOnly;
            DecodeSvg(*child);
            stack.pop_back();
        } else if (child->IsNamed("title")) {
            image.title = child->GetElementData();
        }
    }
}

void LSVGReader::DecodeSvg(const LXMLElement& e) {
    State& s = Top();
    const int mode = s.mode;
    // The size is read whatever the mode: "defs" cannot hide it.
    s.mode = kModeCreate;
    const std::string keepId = s.id;
    for (const auto& [name, value] : e.GetAttributes())
        if (Is(name.c_str(), "width") || Is(name.c_str(), "height") || Is(name.c_str(), "viewBox"))
            DecodeAttribute(name.c_str(), value.c_str());
    s.mode = mode;
    // A document's size in percent of a window it does not have: the view
    // box or the defaults stand in.
    if (s.width.percent)
        s.width = Length();
    if (s.height.percent)
        s.height = Length();
    if (s.hasViewBox) {
        std::copy(s.viewBox, s.viewBox + 4, &image.viewBoxX);
        if (s.width.value == 0)
            s.width.value = s.viewBox[2];
        if (s.height.value == 0)
            s.height.value = s.viewBox[3];
    }
    if (!sizeValid) {
        const float w = std::trunc(s.width.value), h = std::trunc(s.height.value);
        sizeValid = w != 0 && h != 0;
        docWidth = w != 0 ? w : 1024;
        docHeight = h != 0 ? h : 768;
    }
}

void LSVGReader::Pop() {
    State child = std::move(stack.back());
    stack.pop_back();
    if (stack.empty())
        return;
    State& parent = Top();
    if (parent.inText) {
        // A text's position runs on across its children and their siblings.
        parent.charX = std::move(child.charX);
        parent.charY = std::move(child.charY);
        parent.charDX = std::move(child.charDX);
        parent.charDY = std::move(child.charDY);
        parent.charRotate = std::move(child.charRotate);
        parent.pendingX = std::move(child.pendingX);
        parent.pendingY = std::move(child.pendingY);
        parent.pendingDX = std::move(child.pendingDX);
        parent.pendingDY = std::move(child.pendingDY);
        parent.pendingRotate = std::move(child.pendingRotate);
        parent.x = child.x;
        parent.y = child.y;
    }
    parent.stopOffsets = std::move(child.stopOffsets);
    parent.stopOpacities = std::move(child.stopOpacities);
    parent.stopColours = std::move(child.stopColours);
}

void LSVGReader::Walk(const LXMLElement& parent) {
    for (const auto& child : parent.GetChildren())
        DecodeChild(*child);
}

void LSVGReader::DecodeChild(const LXMLElement& e) {
    const char* name = e.GetName();
    if (!name && !e.GetElementData()[0])
        return;
    // Inside a use, every element counts against the budget that stops
    // uses of uses from multiplying without end.
    if (!expanding.empty() && useBudget > 0)
        --useBudget;
    Push();
    const bool textChild = name && (Is(name, "tspan") || Is(name, "tref") || Is(name, "textPath"));
    DecodeByName(e);
    Pop();
    if (textChild && !stack.empty())
        Top().afterTextChild = true;
}

void LSVGReader::DecodeByName(const LXMLElement& e) {
    const char* name = e.GetName();
    State& s = Top();
    if (!name) {
        // A text node inside a text, behind a child element, is a run of
        // its own; the text's leading node was read with the text.
        if (s.inText && s.afterTextChild)
            DecodeText(e, e.GetElementData());
        return;
    }
    if (Is(name, "svg")) {
        DecodeAttributes(e);
        DecodeSvg(e);
        Walk(e);
    } else if (Is(name, "defs")) {
        DecodeAttributes(e);
        Top().mode = kModeIdsOnly;
        Walk(e);
    } else if (Is(name, "use")) {
        DecodeUse(e);
    } else if (Is(name, "path") || Is(name, "line") || Is(name, "rect") || Is(name, "circle") ||
               Is(name, "ellipse") || Is(name, "polyline") || Is(name, "polygon")) {
        DecodeShape(e);
        Walk(e);
    } else if (Is(name, "text") || Is(name, "tspan") || Is(name, "tref") || Is(name, "textPath")) {
        const bool isText = Is(name, "text");
        if (isText) {
            // A new text starts its own position lists.
            s.charX.clear();
            s.charY.clear();
            s.charDX.clear();
            s.charDY.clear();
            s.charRotate.clear();
            s.pendingX.clear();
            s.pendingY.clear();
            s.pendingDX.clear();
            s.pendingDY.clear();
            s.pendingRotate.clear();
        }
        s.inText = true;
        s.afterTextChild = false;
        DecodeAttributes(e);
        ConvertPercentToReal();
        if (Top().mode == kModeCreate)
            CreateFillStrokeBrushInfo();
        if (const char* text = LeadingText(e))
            DecodeText(e, text);
        Walk(e);
    } else if (Is(name, "clipPath")) {
        // Clips do not reach the elements made: only their ids are noted.
        DecodeAttributes(e);
        if (Top().mode == kModeIdsOnly)
            Walk(e);
    } else if (Is(name, "linearGradient") || Is(name, "radialGradient") || Is(name, "mask")) {
        // Decoded when a shape refers to them.
        DecodeAttributes(e);
    } else if (Is(name, "stop")) {
        DecodeAttributes(e);
        Walk(e);
    } else if (Is(name, "image")) {
        DecodeImage(e);
        Walk(e);
    } else {
        // "g", "symbol", "a", "switch" and the unknown draw their content
        // in place; "title" and "metadata" hold none.
        DecodeAttributes(e);
        Walk(e);
    }
}

// ---------------------------------------------------------------- attributes

void LSVGReader::DecodeAttributes(const LXMLElement& e) {
    // The table keeps names in ascending order: "style" overrides what
    // sorts before it and is overridden by what sorts after, "transform"
    // among them. That is all the cascade there is.
    for (const auto& [name, value] : e.GetAttributes()) {
        if (name == "id" && !value.empty())
            ids.emplace(value, &e);
        DecodeAttribute(name.c_str(), value.c_str());
    }
}

void LSVGReader::DecodeLengthList(const char* value, std::vector<float>& list, Length* first) {
    State& s = Top();
    const char* p = value;
    bool isFirst = true;
    for (;;) {
        float v;
        bool found, percent;
        const size_t used = DecodeNumericValue(p, v, found, &percent, 0.01f, s.fontSize, dpi);
        if (!found)
            break;
        p += used;
        list.push_back(v);
        if (first && isFirst)
            *first = {v, percent};
        isFirst = false;
    }
}

void LSVGReader::DecodeAttribute(const char* name, const char* value) {
    State& s = Top();
    if (s.mode != kModeCreate && s.mode != kModeCollect)
        return;
    auto number = [&](float& out, bool* percent = nullptr) {
        bool found;
        float v;
        DecodeNumericValue(value, v, found, percent, 0.01f, s.fontSize, dpi);
        if (found)
            out = v;
        return found;
    };
    auto length = [&](Length& out) {
        Length l;
        if (number(l.value, &l.percent))
            out = l;
    };
    auto opacity = [&](unsigned char& alpha) {
        float v = 1;
        if (number(v))
            alpha = static_cast<unsigned char>(std::clamp(v, 0.0f, 1.0f) * 255.0f);
    };
    const bool text = s.inText;
    if (Is(name, "width")) {
        length(s.width);
    } else if (Is(name, "height")) {
        length(s.height);
    } else if (Is(name, "viewBox")) {
        std::vector<float> v;
        DecodeLengthList(value, v, nullptr);
        if (v.size() >= 4) {
            std::copy(v.begin(), v.begin() + 4, s.viewBox);
            s.hasViewBox = true;
        }
    } else if (Is(name, "style")) {
        std::string all(value);
        size_t start = 0;
        while (start <= all.size()) {
            size_t end = all.find(';', start);
            if (end == std::string::npos)
                end = all.size();
            const std::string piece = all.substr(start, end - start);
            const size_t colon = piece.find(':');
            if (colon != std::string::npos) {
                const std::string key = Trim(piece.substr(0, colon));
                // "style" inside "style" would only start over.
                if (key != "style")
                    DecodeAttribute(key.c_str(), Trim(piece.substr(colon + 1)).c_str());
            }
            start = end + 1;
        }
    } else if (Is(name, "fill") || Is(name, "stroke")) {
        const bool fill = name[0] == 'f';
        if (!std::strncmp(value, "none", 4)) {
            (fill ? s.hasFill : s.hasStroke) = false;
        } else if (!std::strncmp(value, "url(", 4)) {
            DecodePaintUrl(value, fill);
        } else if (DecodeColour(value, fill ? s.fillColour : s.strokeColour)) {
            (fill ? s.hasFill : s.hasStroke) = true;
            (fill ? s.fillIsUrl : s.strokeIsUrl) = false;
        }
    } else if (Is(name, "fill-opacity") || Is(name, "opacity")) {
        opacity(s.fillColour.alpha);
    } else if (Is(name, "stroke-opacity")) {
        opacity(s.strokeColour.alpha);
    } else if (Is(name, "fill-rule")) {
        s.fillRule = Is(value, "evenodd") ? 1 : 0;
    } else if (Is(name, "stroke-width")) {
        length(s.strokeWidth);
    } else if (Is(name, "stroke-linecap")) {
        s.lineCap = Is(value, "square") ? 1 : Is(value, "round") ? 2 : 0;
    } else if (Is(name, "stroke-linejoin")) {
        s.lineJoin = Is(value, "bevel") ? 1 : Is(value, "round") ? 2 : 0;
    } else if (Is(name, "stroke-miterlimit")) {
        number(s.miterLimit);
    } else if (Is(name, "stroke-dasharray")) {
        if (!std::strncmp(value, "none", 4)) {
            s.dashStyle = 0;
        } else {
            std::vector<float> dashes;
            DecodeLengthList(value, dashes, nullptr);
            if (dashes.size() > 100)
                dashes.resize(100);
            float sum = 0;
            for (float d : dashes)
                sum += d;
            if (sum != 0) {
                if (dashes.size() % 2)
                    dashes.insert(dashes.end(), dashes.begin(), dashes.end());
                s.dashArray = dashes;
                s.dashStyle = 5;
            }
        }
    } else if (Is(name, "transform")) {
        DecodeTransform(value, s.matrix);
    } else if (Is(name, "x") || Is(name, "y")) {
        Length& l = name[0] == 'x' ? s.x : s.y;
        if (text)
            DecodeLengthList(value, name[0] == 'x' ? s.charX : s.charY, &l);
        else
            length(l);
    } else if (text && (Is(name, "dx") || Is(name, "dy") || Is(name, "rotate"))) {
        DecodeLengthList(value, Is(name, "dx") ? s.charDX : Is(name, "dy") ? s.charDY : s.charRotate,
                         nullptr);
    } else if (Is(name, "cx")) {
        length(s.cx);
    } else if (Is(name, "cy")) {
        length(s.cy);
    } else if (Is(name, "r")) {
        length(s.r);
    } else if (Is(name, "fx")) {
        length(s.fx);
    } else if (Is(name, "fy")) {
        length(s.fy);
    } else if (Is(name, "rx")) {
        length(s.rx);
    } else if (Is(name, "ry")) {
        length(s.ry);
    } else if (Is(name, "x1")) {
        length(s.x1);
    } else if (Is(name, "y1")) {
        length(s.y1);
    } else if (Is(name, "x2")) {
        length(s.x2);
    } else if (Is(name, "y2")) {
        length(s.y2);
    } else if (Is(name, "font-family")) {
        std::string face = Trim(value);
        const size_t comma = face.find(',');
        if (comma != std::string::npos)
            face = Trim(face.substr(0, comma));
        if (face.size() >= 2 && (face[0] == '\'' || face[0] == '"'))
            face = face.substr(1, face.size() - 2);
        if (!face.empty())
            s.fontFace = face.substr(0, 259);
    } else if (Is(name, "font-weight")) {
        float w = 0;
        if (Is(value, "normal"))
            s.fontWeight = 400;
        else if (Is(value, "bold"))
            s.fontWeight = 700;
        else if (Is(value, "bolder"))
            s.fontWeight = std::min(900, s.fontWeight + 100);
        else if (Is(value, "lighter"))
            s.fontWeight = std::max(100, s.fontWeight - 100);
        else if (number(w) && w >= 1 && std::fmod(w, 100.0f) == 0)
            s.fontWeight = static_cast<int>(w);
    } else if (Is(name, "font-style")) {
        s.italic = Is(value, "italic") || Is(value, "oblique");
    } else if (Is(name, "font-size")) {
        float size = s.fontSize;
        if (number(size) && size > 0)
            s.fontSize = std::min(size, 10000.0f);
    } else if (Is(name, "text-decoration")) {
        if (Is(value, "underline"))
            s.underline = true;
        else if (Is(value, "line-through"))
            s.strike = true;
        else if (Is(value, "none"))
            s.underline = s.strike = false;
    } else if (Is(name, "text-anchor")) {
        s.textAnchor = Is(value, "middle") ? 1 : Is(value, "end") ? 2 : 0;
    } else if (Is(name, "xml:space")) {
        s.preserveSpace = Is(value, "preserve");
    } else if (Is(name, "xlink:href")) {
        s.href = value;
        s.isDataUri = std::strstr(value, "data:image") != nullptr;
        s.hrefIsLocal = !s.isDataUri && std::strchr(value, '#') != nullptr;
        if (s.isDataUri) {
            // The word behind "data:image/"; a value may end before it.
            const char* type = std::strstr(value, "data:image") + 10;
            if (*type == '/')
                ++type;
            const char* semi = std::strchr(type, ';');
            s.dataEncoding = EncodingOfType(std::string(type, semi ? semi - type : 0));
        }
    } else if (Is(name, "clip-path")) {
        s.hasClip = ids.count(LocalId(value)) != 0;
    } else if (Is(name, "mask")) {
        s.hasMask = ids.count(LocalId(value)) != 0;
    } else if (Is(name, "offset")) {
        float v = 0;
        if (number(v))
            s.stopOffsets.push_back(v);
    } else if (Is(name, "stop-color")) {
        LGuiColorAlpha c{0, 0, 0, 255};
        DecodeColour(value, c);
        s.stopColours.push_back(c);
    } else if (Is(name, "stop-opacity")) {
        float v = 1;
        if (number(v))
            s.stopOpacities.push_back(std::clamp(v, 0.0f, 1.0f));
    } else if (Is(name, "gradientUnits")) {
        s.gradientUnits = Is(value, "userSpaceOnUse") ? 0 : 1;
    } else if (Is(name, "spreadMethod")) {
        s.spreadMethod = Is(value, "reflect") ? 1 : Is(value, "repeat") ? 2 : 0;
    } else if (Is(name, "preserveAspectRatio")) {
        static const char* const kAligns[] = {"xMinYMin", "xMidYMin", "xMaxYMin",
                                              "xMinYMid", "xMidYMid", "xMaxYMid",
                                              "xMinYMax", "xMidYMax", "xMaxYMax"};
        const char* p = value;
        s.aspectDefer = !std::strncmp(p, "defer", 5);
        if (s.aspectDefer)
            p += 5;
        while (*p == ' ')
            ++p;
        s.aspectAlign = 0;
        for (int i = 0; i < 9; ++i)
            if (!std::strncmp(p, kAligns[i], 8))
                s.aspectAlign = i + 1;
        s.aspectMeet = std::strstr(p, "slice") == nullptr;
    }
}

void LSVGReader::DecodePaintUrl(const char* value, bool fill) {
    State& s = Top();
    const std::string id = LocalId(value);
    // One pass: an id defined later in the file is not known yet, and the
    // paint stays what it was.
    if (id.empty() || !ids.count(id))
        return;
    (fill ? s.fillUrl : s.strokeUrl) = id;
    (fill ? s.fillIsUrl : s.strokeIsUrl) = true;
    (fill ? s.hasFill : s.hasStroke) = true;
}

void LSVGReader::ConvertPercentToReal() {
    State& s = Top();
    float w, h;
    if (s.gradientUnits != 1) {
        w = s.hasViewBox ? s.viewBox[2] : docWidth;
        h = s.hasViewBox ? s.viewBox[3] : docHeight;
    } else {
        w = s.box.GetWidth();
        h = s.box.GetHeight();
        if (w == 0 && h == 0) {
            w = s.width.value;
            h = s.height.value;
        }
    }
    const float diagonal = std::sqrt((w * w + h * h) / 2);
    auto turn = [](Length& l, float base) {
        if (l.percent)
            l = {l.value * base, false};
    };
    for (Length* l : {&s.x, &s.cx, &s.fx, &s.rx, &s.x1, &s.x2})
        turn(*l, w);
    for (Length* l : {&s.y, &s.cy, &s.fy, &s.ry, &s.y1, &s.y2})
        turn(*l, h);
    turn(s.strokeWidth, diagonal);
    turn(s.r, diagonal);
    // Width and height are also what a nested viewport is measured in.
    if (s.gradientUnits != 1) {
        turn(s.width, w);
        turn(s.height, h);
    }
}

void LSVGReader::UpdateBounds(float x, float y) {
    const State& s = Top();
    const float half = s.strokeWidth.value / 2;
    for (float dx : {-half, half}) {
        for (float dy : {-half, half}) {
            const LPointTemplate<float> p = s.matrix.Apply(x + dx, y + dy);
            if (!std::isfinite(p.x) || !std::isfinite(p.y))
                continue;
            bounds.x1 = std::min(bounds.x1, p.x);
            bounds.y1 = std::min(bounds.y1, p.y);
            bounds.x2 = std::max(bounds.x2, p.x);
            bounds.y2 = std::max(bounds.y2, p.y);
        }
    }
}

// ---------------------------------------------------------------- paints

bool LSVGReader::DecodeGradient(const LXMLElement& g, LVectorImageBrush& brush) {
    // What a gradient holds may paint with the gradient itself: decoded
    // again from inside, it would never end.
    if (!gradients.insert(&g).second)
        return false;
    const bool done = DecodeGradientOnce(g, brush);
    gradients.erase(&g);
    return done;
}

bool LSVGReader::DecodeGradientOnce(const LXMLElement& g, LVectorImageBrush& brush) {
    // Decoded over a copy of the shape's state, with the geometry of the
    // shape out of the way, so that neither changes the other.
    const LBoundingBox2T<float> box = Top().box;
    Push();
    State& s = Top();
    s.mode = kModeCollect;
    s.gradientUnits = -1;
    s.cx = s.cy = s.r = s.fx = s.fy = s.x1 = s.y1 = s.x2 = s.y2 = Length();
    s.stopOffsets.clear();
    s.stopOpacities.clear();
    s.stopColours.clear();
    s.gradientType = g.IsNamed("radialGradient") ? LVectorImageBrushRadial : LVectorImageBrushLinear;
    // A gradient may take its stops and values from another one, one step
    // deep; a radial one from a linear one but not the other way round.
    if (const char* href = g.GetAttribute("xlink:href")) {
        const auto found = ids.find(LocalId(href));
        if (found != ids.end() && found->second != &g &&
            (found->second->IsNamed("linearGradient") ||
             (found->second->IsNamed("radialGradient") && g.IsNamed("radialGradient")))) {
            DecodeAttributes(*found->second);
            Walk(*found->second);
        }
    }
    DecodeAttributes(g);
    Walk(g);
    State& t = Top();
    if (t.gradientUnits == -1)
        t.gradientUnits = 1;
    if (t.gradientType == LVectorImageBrushLinear && t.x1.value == 0 && t.y1.value == 0 &&
        t.x2.value == 0 && t.y2.value == 0)
        t.x2 = {1.0f, true};
    if (t.gradientType == LVectorImageBrushRadial) {
        for (Length* l : {&t.cx, &t.cy, &t.r})
            if (l->value == 0)
                *l = {0.5f, true};
    }
    t.box = box;
    ConvertPercentToReal();
    const float ox = t.gradientUnits == 1 ? box.x1 : (t.hasViewBox ? t.viewBox[0] : 0);
    const float oy = t.gradientUnits == 1 ? box.y1 : (t.hasViewBox ? t.viewBox[1] : 0);
    brush = LVectorImageBrush();
    brush.type = static_cast<LVectorImageBrushType>(t.gradientType);
    if (t.gradientType == LVectorImageBrushLinear) {
        brush.x1 = t.x1.value + ox;
        brush.y1 = t.y1.value + oy;
        brush.x2 = t.x2.value + ox;
        brush.y2 = t.y2.value + oy;
    } else {
        // The focus is dropped.
        brush.x1 = t.cx.value + ox;
        brush.y1 = t.cy.value + oy;
        brush.radiusX = brush.radiusY = t.r.value;
    }
    if (t.stopOffsets.size() >= 2) {
        for (size_t i = 0; i < t.stopOffsets.size(); ++i) {
            LGuiColorAlpha c = i < t.stopColours.size() ? t.stopColours[i] : LGuiColorAlpha(0, 0, 0, 255);
            c.alpha = i < t.stopOpacities.size()
                          ? static_cast<unsigned char>(t.stopOpacities[i] * 255.0f)
                          : 255;
            brush.stopPositions.push_back(std::clamp(t.stopOffsets[i], 0.0f, 1.0f));
            brush.stopColours.push_back(c);
        }
    }
    const int spread = t.spreadMethod;
    stack.pop_back();
    Top().spreadMethod = spread;
    return true;
}

void LSVGReader::CreateFillStrokeBrushInfo() {
    for (bool fill : {true, false}) {
        State& s = Top();
        LVectorImageBrush& brush = fill ? s.fillBrush : s.strokeBrush;
        const bool has = fill ? s.hasFill : s.hasStroke;
        const bool isUrl = fill ? s.fillIsUrl : s.strokeIsUrl;
        brush = LVectorImageBrush();
        if (!has)
            continue;
        const auto found = isUrl ? ids.find(fill ? s.fillUrl : s.strokeUrl) : ids.end();
        if (found != ids.end() &&
            (found->second->IsNamed("linearGradient") || found->second->IsNamed("radialGradient"))) {
            LVectorImageBrush gradient;
            if (DecodeGradient(*found->second, gradient))
                (fill ? Top().fillBrush : Top().strokeBrush) = gradient;
        } else {
            brush.type = LVectorImageBrushSolid;
            brush.colour = fill ? s.fillColour : s.strokeColour;
        }
    }
}

void LSVGReader::CopyGeneralAttributes(LVectorImageShape& shape, bool withFill) {
    const State& s = Top();
    shape.matrix = s.matrix;
    shape.id = s.id;
    shape.hasClip = s.hasClip;
    shape.hasStroke = s.hasStroke;
    shape.stroke.brush = s.strokeBrush;
    shape.stroke.dashStyle = s.dashStyle;
    shape.stroke.dashArray = s.dashArray;
    shape.stroke.lineJoin = s.lineJoin;
    shape.stroke.lineCap = s.lineCap;
    shape.stroke.miterLimit = s.miterLimit;
    shape.stroke.width = s.strokeWidth.value;
    shape.stroke.opacity = s.strokeColour.alpha / 255.0f;
    if (withFill) {
        shape.fill.brush = s.fillBrush;
        shape.fill.spread = s.spreadMethod;
        shape.fill.rule = s.fillRule;
        shape.fill.opacity = s.fillColour.alpha / 255.0f;
    }
}

void LSVGReader::Add(std::unique_ptr<LVectorImageElement> element) {
    image.elements.push_back(std::move(element));
}

// ---------------------------------------------------------------- shapes

void LSVGReader::DecodeShape(const LXMLElement& e) {
    DecodeAttributes(e);
    State& s = Top();
    if (s.mode != kModeCreate)
        return;
    ConvertPercentToReal();
    const char* name = e.GetName();
    if (Is(name, "path")) {
        CreateFillStrokeBrushInfo();
        if (const char* d = e.GetAttribute("d"))
            DecodePathData(d);
        return;
    }
    const float x = s.x.value, y = s.y.value;
    std::unique_ptr<LVectorImageShape> shape;
    LBoundingBox2T<float> box;
    if (Is(name, "rect")) {
        box = {x, y, x + s.width.value, y + s.height.value};
        shape = std::make_unique<LVectorImageRect>(x, y, s.width.value, s.height.value, s.rx.value,
                                                   s.ry.value);
    } else if (Is(name, "circle") || Is(name, "ellipse")) {
        const bool circle = Is(name, "circle");
        const float rx = circle ? s.r.value : s.rx.value, ry = circle ? s.r.value : s.ry.value;
        box = {s.cx.value - rx, s.cy.value - ry, s.cx.value + rx, s.cy.value + ry};
        shape = std::make_unique<LVectorImageEllipse>(
            circle ? LVectorImageCircleType : LVectorImageEllipseType, s.cx.value, s.cy.value, rx, ry);
    } else if (Is(name, "line")) {
        box = {std::min(s.x1.value, s.x2.value), std::min(s.y1.value, s.y2.value),
               std::max(s.x1.value, s.x2.value), std::max(s.y1.value, s.y2.value)};
        shape = std::make_unique<LVectorImageLine>(s.x1.value, s.y1.value, s.x2.value, s.y2.value);
    } else {
        auto poly = std::make_unique<LVectorImagePoly>(Is(name, "polygon") ? LVectorImagePolygonType
                                                                           : LVectorImagePolylineType);
        const char* points = e.GetAttribute("points");
        if (!points || !DecodePoints(points, poly->points))
            return;
        box = {poly->points[0].x, poly->points[0].y, poly->points[0].x, poly->points[0].y};
        for (const auto& p : poly->points)
            box += LBoundingBox2T<float>(p.x, p.y, p.x, p.y);
        shape = std::move(poly);
    }
    s.box = box;
    // A gradient decodes on states of its own: `s` may not outlive this.
    CreateFillStrokeBrushInfo();
    UpdateBounds(box.x1, box.y1);
    UpdateBounds(box.x2, box.y2);
    shape->left = box.x1;
    shape->top = box.y1;
    shape->right = box.x2;
    shape->bottom = box.y2;
    CopyGeneralAttributes(*shape, shape->type != LVectorImageLineType &&
                                      shape->type != LVectorImagePolylineType);
    Add(std::move(shape));
}

void LSVGReader::DecodeUse(const LXMLElement& e) {
    DecodeAttributes(e);
    State& s = Top();
    if (s.mode != kModeCreate || !s.hrefIsLocal)
        return;
    const auto found = ids.find(LocalId(s.href.c_str()));
    // A later id is not known yet; a target that holds this use would
    // expand for ever, and a budget stops chains of uses of uses.
    if (found == ids.end() || expanding.count(found->second) || useBudget == 0)
        return;
    const LXMLElement& target = *found->second;
    static const char* const kKinds[] = {"path", "line", "rect", "polyline", "polygon", "g",
                                         "circle", "ellipse", "text", "textPath"};
    if (std::none_of(std::begin(kKinds), std::end(kKinds), [&](const char* k) { return target.IsNamed(k); }))
        return;
    expanding.insert(&target);
    // The use's x and y do not move what it draws.
    DecodeByName(target);
    expanding.erase(&target);
}

} // namespace kvsvgin

// ---------------------------------------------------------------- entry points

namespace {

constexpr unsigned long kLargestSide = 32767;

LProcessResult Refuse(LProcessInterface& process, LVectorImage& image, const std::string& message) {
    image.error = message;
    process.SetError(message.c_str());
    return LProcessResultError;
}

} // namespace

LProcessResult LVectorImageLoadSVGText(LProcessInterface& process, const char* text, size_t length,
                                       LVectorImage& image, float dpi) {
    if (process.IsToStop())
        return LProcessResultStopped;
    LXMLDocument document;
    char error[LXMLDocument::kErrorSize] = {};
    document.LoadFromBuffer(text, length, error, &process);
    if (process.IsToStop())
        return LProcessResultStopped;
    // A broken file would give a part of the picture without a word: it is
    // refused with the reader's own account of where it broke.
    if (error[0])
        return Refuse(process, image, error);
    if (!document.GetElement("svg"))
        return Refuse(process, image, "This is not a picture this program can open.");
    kvsvgin::LSVGReader reader(image, dpi);
    reader.Read(document);
    if (!(image.width >= 1 && image.height >= 1 && image.width <= kLargestSide &&
          image.height <= kLargestSide))
        return Refuse(process, image, "The picture is larger than 32767 by 32767 pixels.");
    image.codec = LVectorImageCodecSVG;
    return LProcessResultOk;
}

LProcessResult LVectorImageLoadSVG(LProcessInterface& process, const char* path, LVectorImage& image,
                                   float dpi) {
    std::string text;
    if (!path || !LLoadTextAutoChar(path, text))
        return Refuse(process, image, LFile::ErrorText("The file could not be opened.", path ? path : "", errno));
    return LVectorImageLoadSVGText(process, text.data(), text.size(), image, dpi);
}
