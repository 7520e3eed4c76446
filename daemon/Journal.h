#pragma once

namespace bt {

/// Under a unit, what this program prints gets an identifier of its own in the journal; otherwise it would
/// have that of whoever started the program and shares its output. Lines without a level are notices there.
/// Anywhere else, nothing happens.
void writeJournalAs(const char* identifier);

} // namespace bt
