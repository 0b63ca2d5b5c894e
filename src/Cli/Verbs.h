// The verbs, each in a file of its own.
#pragma once

#include "Cli/Verb.h"

namespace ombrel {

std::unique_ptr<Verb> makeCommandsVerb();
std::unique_ptr<Verb> makeExportVerb();
std::unique_ptr<Verb> makeInfoVerb();
std::unique_ptr<Verb> makeConvertVerb();
std::unique_ptr<Verb> makeApplyVerb();

} // namespace ombrel
