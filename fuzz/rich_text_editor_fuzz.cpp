// The rich text editor driven by a script of edits: typing (some of it broken
// UTF-8), deleting both ways, caret moves and clicks, selections, formats,
// pastes and raw range replacements. After every step the text must be valid
// UTF-8, the commands sorted and within it, and the caret on a character
// boundary.

#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "richtext/rich_text_editor.h"

namespace {

// A script past this length only costs time.
constexpr std::size_t kMaxScript = 2048;
// Pasting a selection back doubles the text at most; past this a paste is
// left out, as a longer text only makes each step slower.
constexpr unsigned long kMaxPasteText = 1024;

// Ten units a character: the layout runs without the font library, so that
// the editing, not the shaping, is what gets fuzzed.
class FixedMeasurer : public LTextMeasurer {
public:
    LTextFontMetrics GetMetrics(const LFontAttributes& f) const override {
        return {f.size * 0.8f, f.size * 0.2f};
    }
    void MeasureRun(const LFontAttributes& f, const char* text, unsigned long n,
                    LArray<float>& offsets) const override {
        offsets.SetCount(n + 1);
        float x = 0;
        for (unsigned long i = 0; i < n; ++i) {
            offsets[i] = x;
            if ((static_cast<unsigned char>(text[i]) & 0xC0) != 0x80)
                x += f.size / 2;
        }
        offsets[n] = x;
    }
    void WrapLines(const LFontAttributes&, const char*, float,
                   LArray<unsigned long>& starts) const override {
        starts.Clear();
        starts.Add(0);
    }
};

class Script {
public:
    Script(const std::uint8_t* d, std::size_t n) : data(d), size(n < kMaxScript ? n : kMaxScript) {}
    bool More() const { return at < size; }
    std::uint8_t Byte() { return at < size ? data[at++] : 0; }

private:
    const std::uint8_t* data;
    std::size_t size;
    std::size_t at = 0;
};

void Check(const LRichTextEditor& editor) {
    const LFormattedText& t = editor.GetArea().GetText();
    const char* s = t.GetText().Get();
    const unsigned long n = t.GetLength();
    if (std::strlen(s) != n || !LUtf8IsValid(s, n))
        std::abort();
    unsigned long last = 0;
    for (const LTextFormatCommand& c : t.GetFormats()) {
        if (c.index < last || c.index > n)
            std::abort();
        last = c.index;
    }
    if (editor.GetCursor() > n || !LUtf8IsBoundary(s, n, editor.GetCursor()))
        std::abort();
    if (editor.GetAnchor() != kLNoAnchor &&
        (editor.GetAnchor() > n || !LUtf8IsBoundary(s, n, editor.GetAnchor())))
        std::abort();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const FixedMeasurer measurer;
    static const char* const kPieces[] = {"a", " ", "\n", "word ", "\xC3\xA9", "\xE2\x82\xAC",
                                          "\xF0\x9D\x84\x9E", "xyz\nq"};
    static const LKey kKeys[] = {kLKeyReturn, kLKeyBackspace, kLKeyForwardDelete, kLKeyLeft,
                                 kLKeyRight,  kLKeyDown,      kLKeyUp,            kLKeyHome,
                                 kLKeyEnd};
    LRichTextArea area;
    area.SetMeasurer(&measurer);
    LRichTextEditor editor(area);
    Script script(data, size);
    if (script.Byte() & 1)
        area.SetWidthLimit(static_cast<float>(script.Byte()));
    while (script.More()) {
        const std::uint8_t op = script.Byte();
        switch (op % 10) {
        case 0:
            editor.AddString(kPieces[script.Byte() % 8]);
            break;
        case 1: { // raw bytes, broken UTF-8 included
            char raw[8] = {};
            const int n = script.Byte() % 7;
            for (int i = 0; i < n; ++i)
                raw[i] = static_cast<char>(script.Byte() | 1);
            editor.AddString(raw);
            break;
        }
        case 2:
            editor.DeleteText((op & 0x10) != 0);
            break;
        case 3: {
            const std::uint8_t k = script.Byte();
            editor.EvKeyDown(kKeys[k % 9] | (k & 0x40 ? kLKeyShift : 0) |
                             (k & 0x80 ? kLKeyCommand : 0));
            break;
        }
        case 4: {
            const float x = script.Byte(), y = script.Byte();
            if (op & 0x10)
                editor.EvMouseMove(LPointTemplate<float>(x, y));
            else
                editor.EvLButtonDown(LPointTemplate<float>(x, y), (op & 0x20) != 0);
            break;
        }
        case 5:
            if (op & 0x10) {
                editor.SelectAll();
                break;
            }
            // A text as a file might bring it: any bytes, commands in any
            // order, past the end, of unknown kinds and table entries.
            {
                LFormattedText loaded;
                const int n = script.Byte() % 24;
                for (int i = 0; i < n; ++i)
                    loaded.Text().Append(static_cast<char>(script.Byte() | 1));
                for (int i = script.Byte() % 8; i > 0; --i) {
                    const std::uint8_t kind = script.Byte(), at = script.Byte(), value = script.Byte();
                    loaded.Formats().PushBack(
                        new LTextFormatCommand(kind % 8 - 1, at % 32, value % 4 - 1));
                }
                loaded.LocateFont("Arial");
                if (op & 0x20) {
                    area.SetText(loaded);
                    editor.MoveCursorLast(false);
                } else {
                    editor.AddFormattedText(&loaded);
                }
            }
            break;
        case 6: { // a format on the selection, or held for what comes next
            LFormattedTextStateIndependent s = area.GetStateIndependent(editor.GetCursor());
            const std::uint8_t v = script.Byte();
            s.bold = v & 1;
            s.italic = v & 2;
            s.size = 4 + v % 60;
            s.color = LGuiColor::FromBytes(v, 0, 0);
            LStrCopy(s.fontName, v & 4 ? "Arial" : "Serif");
            unsigned long a, b;
            editor.GetSelection(&a, &b);
            if (a < b)
                area.SetState(&s, a, b);
            else
                editor.SetPendingState(s);
            break;
        }
        case 7: { // copy and paste back in at the caret
            if (area.GetStringLength() > kMaxPasteText)
                break;
            const LFormattedText copied = editor.Copy();
            editor.MoveCursorRight(false);
            editor.AddFormattedText(&copied);
            break;
        }
        case 8: { // a raw replacement at any indexes, inside characters too
            const unsigned long start = script.Byte(), length = script.Byte() % 16;
            area.AlterText(start, length, kPieces[script.Byte() % 8]);
            editor.MoveCursorFirst(false);
            break;
        }
        default:
            area.SetBold(op & 0x10, script.Byte(), script.Byte());
            break;
        }
        Check(editor);
    }
    return 0;
}
