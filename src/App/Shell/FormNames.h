// What screen readers call the fields of a form: as the words before them, where a row has several
// fields or is no plain widget; the toolkit itself looks no further than a row's one field. Main
// thread.
#pragma once

class QFormLayout;

namespace ombrel {

/// Fields that have a name, or buttons that have a text, keep theirs.
void nameFields(const QFormLayout& form);

} // namespace ombrel
