// What the scripting reference says about the kinds of values that fields take, gathered while
// walking over the fields of commands.
#pragma once

#include <map>
#include <string>
#include <vector>

namespace ombrel {

struct FieldDescription {
    std::string name;
    std::string kind; ///< "text", "list of layers"
    std::string description;
    bool mayBeAbsent = false;
};

struct ValueKind {
    std::string description;
    std::vector<FieldDescription> fields; ///< of a record
};

/// By name, for the kinds that need more words than their name.
using ValueKinds = std::map<std::string, ValueKind>;

} // namespace ombrel
