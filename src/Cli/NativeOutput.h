// The output of verbs that write a native document.
#pragma once

#include "Cli/Verb.h"
#include "Core/Board.h"

#include <expected>
#include <string>

namespace ombrel {

class Progress;

/// By its extension.
bool isNativePath(const std::string& path);
/// Before any work: whether the file could be written at all. Nothing is left of that.
std::expected<void, VerbError> checkWritable(const std::string& path);
/// Complete or not at all.
std::expected<void, VerbError> writeNative(const Board& board, const std::string& path,
                                           Progress& progress);

} // namespace ombrel
