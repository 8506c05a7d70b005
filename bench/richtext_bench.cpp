// Typing into a long rich text: 1,000 insertions into a 20,000-byte text that
// carries 2,000 format commands, each of which must stay under a millisecond
// without the layout; into the model, and through the editor as keys. Then,
// for scale, the layout of the same text through the font library, and a key
// typed into a short paragraph, laid out and with its caret found.

#include <benchmark/benchmark.h>

#include <string>

#include "richtext/rich_text_editor.h"

namespace {

constexpr unsigned long kTextBytes = 20000;
constexpr int kCommands = 2000;
constexpr int kInsertions = 1000;

// Words of ten bytes, every other one's first half bold, italic or a size of
// its own: a command where each such half starts and one where it ends.
void Fill(LRichTextArea& area) {
    std::string text;
    while (text.size() < kTextBytes)
        text += (text.size() % 500 == 490) ? "lorem ips\n" : "lorem ips ";
    area.AlterText(0, area.GetStringLength(), text.c_str());
    for (int i = 0; i < kCommands / 2; ++i) {
        const unsigned long at = static_cast<unsigned long>(i) * (2 * kTextBytes / kCommands);
        switch (i % 3) {
        case 0:
            area.SetBold(i % 2, at, at + 5);
            break;
        case 1:
            area.SetItalic(true, at, at + 5);
            break;
        default:
            area.SetFontSize(18 + i % 20, at, at + 5);
            break;
        }
    }
}

unsigned long CommandCount(const LRichTextArea& area) {
    return area.GetText().GetFormats().GetCount();
}

void BM_InsertIntoFormattedText(benchmark::State& state) {
    LRichTextArea area;
    Fill(area);
    state.counters["commands"] = static_cast<double>(CommandCount(area));
    int done = 0;
    unsigned long at = 7;
    for (auto _ : state) {
        if (done == kInsertions) {
            state.PauseTiming();
            Fill(area);
            done = 0;
            state.ResumeTiming();
        }
        at = (at * 7919 + 13) % area.GetStringLength();
        area.AlterText(at, 0, "\xC3\xA9t");
        ++done;
    }
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_InsertIntoFormattedText)->Unit(benchmark::kMicrosecond);

// A typed word with a format held for it: the insert and the format together.
void BM_InsertWithPendingFormat(benchmark::State& state) {
    LRichTextArea area;
    Fill(area);
    LFormattedTextStateIndependent bold = area.GetStateIndependent(0);
    bold.bold = true;
    int done = 0;
    unsigned long at = 7;
    for (auto _ : state) {
        if (done == kInsertions) {
            state.PauseTiming();
            Fill(area);
            done = 0;
            state.ResumeTiming();
        }
        at = (at * 7919 + 13) % area.GetStringLength();
        area.AlterText(at, 0, "abc");
        area.SetState(&bold, at, at + 3);
        ++done;
    }
}
BENCHMARK(BM_InsertWithPendingFormat)->Unit(benchmark::kMicrosecond);

// The same through the editor, as keys arrive: the caret in the middle of
// the text, and every tenth key with a format held for it.
void BM_EditorTypingIntoLongText(benchmark::State& state) {
    LRichTextArea area;
    LRichTextEditor editor(area);
    LFormattedTextStateIndependent bold;
    bold.bold = true;
    int done = kInsertions;
    for (auto _ : state) {
        if (done == kInsertions) {
            state.PauseTiming();
            Fill(area);
            editor.MoveCursorFirst(false);
            while (editor.GetCursor() < kTextBytes / 2)
                editor.MoveCursorRight(false);
            done = 0;
            state.ResumeTiming();
        }
        if (done % 10 == 0)
            editor.SetPendingState(bold);
        editor.AddString("\xC3\xA9");
        ++done;
    }
    state.counters["commands"] = static_cast<double>(CommandCount(area));
}
BENCHMARK(BM_EditorTypingIntoLongText)->Unit(benchmark::kMicrosecond);

void BM_LayoutLongText(benchmark::State& state) {
    LRichTextArea area;
    Fill(area);
    for (auto _ : state)
        area.FindSegments(600, 0);
    state.counters["segments"] = static_cast<double>(area.GetSegments().GetCount());
}
BENCHMARK(BM_LayoutLongText)->Unit(benchmark::kMillisecond);

// A key into a short paragraph, as the canvas sees it: edit, layout, caret.
void BM_EditorKeyInParagraph(benchmark::State& state) {
    LRichTextArea area;
    area.SetWidthLimit(400);
    LRichTextEditor editor(area);
    for (auto _ : state) {
        state.PauseTiming();
        editor.SelectAll();
        editor.AddString("The quick brown fox jumps over the lazy dog. ");
        state.ResumeTiming();
        editor.AddString("x");
        benchmark::DoNotOptimize(area.FindPosition(editor.GetCursor()));
    }
}
BENCHMARK(BM_EditorKeyInParagraph)->Unit(benchmark::kMicrosecond);

} // namespace

BENCHMARK_MAIN();
