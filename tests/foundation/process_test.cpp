#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "foundation/process.h"
#include "foundation/signal.h"

namespace {

struct Recorder : LProcessInterfaceVoid {
    void SetError(const char* m) override { errors.push_back(m); }
    void SetStatus(const char* t, int level) override {
        statuses.push_back(t);
        levels.push_back(level);
    }
    void SetProgress(double f) override { progress.push_back(f); }
    void SetProgressIndeterminateOn() override { ++indeterminate; }
    std::vector<std::string> errors, statuses;
    std::vector<int> levels;
    std::vector<double> progress;
    int indeterminate = 0;
};

TEST(SubProcess, SlicesNestAndStatusLevelsDeepen) {
    Recorder root;
    LProcessInterfaceSubProcess outer(root, 0.25, 0.5);
    outer.SetProgress(1.0);
    outer.SetStatus("x", 2);
    EXPECT_DOUBLE_EQ(root.progress.back(), 0.75);
    EXPECT_EQ(root.levels.back(), 3);

    LProcessInterfaceSubProcess inner(outer, 0.5, 0.5);
    inner.SetProgress(0.0);
    EXPECT_DOUBLE_EQ(root.progress.back(), 0.5);
    inner.SetProgress(1.0);
    EXPECT_DOUBLE_EQ(root.progress.back(), 0.75);
    inner.SetStatus("deep", 0);
    EXPECT_EQ(root.levels.back(), 2);

    inner.SetProgressIndeterminateOn();
    EXPECT_EQ(root.indeterminate, 0);
    inner.SetError("bad");
    ASSERT_EQ(root.errors.size(), 1u);
    EXPECT_EQ(root.errors[0], "bad");
}

TEST(ProcessMessages, FormattedTextIsCutAt8192Bytes) {
    Recorder r;
    const std::string big(10000, 'a');
    r.SetErrorF("%s", big.c_str());
    EXPECT_EQ(r.errors.back().size(), 8191u);
    r.SetStatusF(1, "%d files", 3);
    EXPECT_EQ(r.statuses.back(), "3 files");
    EXPECT_EQ(r.levels.back(), 1);
}

TEST(VoidProcess, WaitsGiveOkOrTimeOut) {
    LProcessInterfaceVoid v;
    EXPECT_FALSE(v.IsToStop());
    EXPECT_EQ(v.ProcessWait(5), LProcessResultOk);
    LSignalObject s;
    EXPECT_EQ(v.ProcessWaitSignal(s, 5), LProcessResultError);
    s.Set();
    EXPECT_EQ(v.ProcessWaitSignal(s, 5), LProcessResultOk);
    LSignalObjectGroup g;
    g.Add(s);
    EXPECT_EQ(v.ProcessWaitSignalObjectGroup(g, 5), LProcessResultOk);
}

} // namespace
