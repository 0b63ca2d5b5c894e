#include "Editor/HistoryMemory.h"

namespace ombrel {

TEST(HistoryMemory, holdsWhatTheHistorySaysAndCompressesWhatLeftTheDocument) {
    checkHistoryMemory(12);
}

} // namespace ombrel
