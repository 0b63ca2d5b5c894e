#include "Editor/HistoryMemory.h"

namespace ombrel {

TEST(HistoryMemory, holdsOnADocumentOfAHundredMegapixels) {
    checkHistoryMemory(40);
}

} // namespace ombrel
