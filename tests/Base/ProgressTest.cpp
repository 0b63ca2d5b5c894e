#include "Base/Progress.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace ombrel {
namespace {

TEST(Progress, tellsItsObserverOfEachStepWithoutALock) {
    std::vector<std::string> seen;
    Progress* self = nullptr;
    Progress progress([&](double fraction, const std::string& text) {
        seen.push_back(text + " " + std::to_string(static_cast<int>(fraction * 100)));
        EXPECT_EQ(self->text(), text); // would lock up if the lock were held
    });
    self = &progress;
    progress.setText("Decoding");
    progress.setFraction(0.5);
    EXPECT_EQ(seen, (std::vector<std::string>{"Decoding 0", "Decoding 50"}));
    EXPECT_FALSE(progress.isCancelled());
    progress.cancel();
    EXPECT_TRUE(progress.isCancelled());
}

} // namespace
} // namespace ombrel
