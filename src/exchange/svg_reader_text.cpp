// The SVG reader's texts, one segment a byte, and its pictures.

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <map>

#include "exchange/svg_reader_p.h"
#include "foundation/base64.h"
#include "foundation/paint_surface.h"
#include "foundation/text_format.h"
#include "imaging/image_file.h"

namespace kvsvgin {

namespace {

// Text as written, folded as SVG folds blanks unless space is preserved;
// one blank goes behind it so that the next run stands apart.
std::string HandleWhiteSpace(const std::string& text, bool preserve) {
    std::string out;
    if (preserve) {
        for (char c : text)
            out += (c == '\n' || c == '\t' || c == '\r') ? ' ' : c;
    } else {
        for (char c : text) {
            if (c == '\n' || c == '\r')
                continue;
            if (c == '\t')
                c = ' ';
            if (c == ' ' && (out.empty() || out.back() == ' '))
                continue;
            out += c;
        }
        if (!out.empty() && out.back() == ' ')
            out.pop_back();
    }
    return out + " ";
}

} // namespace

// ---------------------------------------------------------------- text

float LSVGReader::MeasureByte(const State& s, unsigned char byte) {
    char key[300];
    std::snprintf(key, sizeof key, "%s|%g|%d%d%d|%u", s.fontFace.c_str(), s.fontSize,
                  s.fontWeight > 699, s.italic, s.underline, byte);
    // Kept across files: a font's letters measure the same in all of them.
    // The layouts belong to their thread, and so does this cache.
    static thread_local std::map<std::string, float> widths;
    const auto found = widths.find(key);
    if (found != widths.end())
        return found->second;
    if (widths.size() > 20000)
        widths.clear();
    float width = 0, height = 0;
    LPaintSurfaceImage scratch(1, 1);
    if (scratch.IsValid()) {
        LPaintSurface::SetFont(scratch.context, LGuiFont(s.fontFace.c_str(), s.fontSize,
                                                         s.fontWeight > 699, s.italic, s.underline));
        LDrawTextFormat format;
        format.alignY = LAlignmentYTop;
        // A blank alone may be trimmed: it is measured between two letters.
        if (byte == ' ') {
            float spaced = 0, tight = 0;
            const LBoundingBox2T<float> box(0, 0, 100000, 100000);
            LPaintSurface::MeasureText(scratch.context, spaced, height, "n n", box, format);
            LPaintSurface::MeasureText(scratch.context, tight, height, "nn", box, format);
            width = spaced - tight;
        } else {
            const char text[2] = {static_cast<char>(byte), 0};
            LPaintSurface::MeasureText(scratch.context, width, height, text,
                                       LBoundingBox2T<float>(0, 0, 100000, 100000), format);
        }
    }
    widths.emplace(key, width);
    return width;
}

void LSVGReader::AddText(const std::string& text, bool dryRun, float& advance) {
    State& s = Top();
    std::unique_ptr<LVectorImageText> element;
    if (!dryRun) {
        element = std::make_unique<LVectorImageText>();
        element->face = s.fontFace;
        element->size = s.fontSize;
        element->flags = (s.fontWeight > 699 ? unsigned(LVectorImageFontBold) : 0u) |
                         (s.italic ? unsigned(LVectorImageFontItalic) : 0u) |
                         (s.underline ? unsigned(LVectorImageFontUnderline) : 0u) |
                         (s.strike ? unsigned(LVectorImageFontStrike) : 0u);
        element->anchor = s.textAnchor;
        CopyGeneralAttributes(*element, true);
    }
    // The next entry of a list: the current one, else what the last run
    // left, else nothing.
    auto next = [](std::vector<float>& list, std::vector<float>& pending, size_t& used,
                   size_t& usedPending, float& out) {
        if (used < list.size()) {
            out = list[used++];
            return true;
        }
        if (usedPending < pending.size()) {
            out = pending[usedPending++];
            return true;
        }
        return false;
    };
    size_t ux = 0, uy = 0, udx = 0, udy = 0, ur = 0, px = 0, py = 0, pdx = 0, pdy = 0, pr = 0;
    const float startX = s.x.value;
    float rotation = 0;
    for (unsigned char byte : text) {
        const float width = MeasureByte(s, byte);
        float x = s.x.value, y = s.y.value, dx = 0, dy = 0;
        next(s.charX, s.pendingX, ux, px, x);
        next(s.charY, s.pendingY, uy, py, y);
        next(s.charDX, s.pendingDX, udx, pdx, dx);
        next(s.charDY, s.pendingDY, udy, pdy, dy);
        next(s.charRotate, s.pendingRotate, ur, pr, rotation);
        x += dx;
        y += dy;
        if (element) {
            element->segments.push_back({std::string(1, static_cast<char>(byte)), x, y, rotation});
            UpdateBounds(x, y);
            UpdateBounds(x + width, y - s.fontSize);
        }
        s.x.value = x + width;
        s.y.value = y;
    }
    advance = s.x.value - startX;
    auto rest = [](std::vector<float>& list, size_t used, std::vector<float>& pending, size_t usedPending) {
        std::vector<float> left(list.begin() + static_cast<long>(std::min(used, list.size())), list.end());
        left.insert(left.end(), pending.begin() + static_cast<long>(std::min(usedPending, pending.size())),
                    pending.end());
        pending = std::move(left);
        list.clear();
    };
    rest(s.charX, ux, s.pendingX, px);
    rest(s.charY, uy, s.pendingY, py);
    rest(s.charDX, udx, s.pendingDX, pdx);
    rest(s.charDY, udy, s.pendingDY, pdy);
    rest(s.charRotate, ur, s.pendingRotate, pr);
    if (element)
        Add(std::move(element));
}

void LSVGReader::DecodeText(const LXMLElement&, const char* raw) {
    if (Top().mode != kModeCreate || !raw)
        return;
    const std::string text = HandleWhiteSpace(raw, Top().preserveSpace);
    float advance = 0;
    if (Top().textAnchor == 0) {
        AddText(text, false, advance);
        return;
    }
    // Measured once on a copy, then placed for real from the corrected start.
    const State saved = Top();
    AddText(text, true, advance);
    Top() = saved;
    Top().x.value -= Top().textAnchor == 1 ? advance / 2 : advance;
    if (!Top().charX.empty())
        Top().charX.front() -= Top().textAnchor == 1 ? advance / 2 : advance;
    AddText(text, false, advance);
}

// ---------------------------------------------------------------- pictures

void LSVGReader::DecodeImage(const LXMLElement& e) {
    DecodeAttributes(e);
    State& s = Top();
    if (s.mode != kModeCreate || s.href.empty() || s.hrefIsLocal)
        return;
    ConvertPercentToReal();
    LImageBuffer picture;
    if (s.isDataUri) {
        const char* comma = std::strstr(s.href.c_str(), ";base64,");
        if (!comma)
            return;
        const char* data = comma + 8;
        LSizedArray<unsigned char> bytes;
        if (!LBase64Decode(data, static_cast<unsigned long>(std::strlen(data)), bytes) || bytes.IsEmpty())
            return;
        if (!LImage::Load(picture, &bytes[0], bytes.GetSize(), s.dataEncoding))
            return;
    } else {
        // A path as it stands, relative to the working folder.
        if (s.href.size() >= 260 || !LImage::Load(picture, s.href.c_str(), 3000))
            return;
    }
    if (!picture.IsValid())
        return;
    float w = s.width.value, h = s.height.value;
    if (w <= 0 || h <= 0) {
        w = static_cast<float>(picture.width);
        h = static_cast<float>(picture.height);
    }
    if (s.aspectAlign != 0) {
        if (!s.aspectMeet) {
            w = std::min(w, static_cast<float>(picture.width));
            h = std::min(h, static_cast<float>(picture.height));
        } else {
            const float scale = std::min(w / picture.width, h / picture.height);
            w = picture.width * scale;
            h = picture.height * scale;
        }
    }
    auto element = std::make_unique<LVectorImageImage>(s.x.value, s.y.value);
    element->width = w;
    element->height = h;
    element->matrix = s.matrix;
    element->id = s.id;
    element->picture.Assign(picture);
    element->left = s.x.value;
    element->top = s.y.value;
    element->right = s.x.value + w;
    element->bottom = s.y.value + h;
    UpdateBounds(element->left, element->top);
    UpdateBounds(element->right, element->bottom);
    Add(std::move(element));
}

} // namespace kvsvgin
