#pragma once

#include "ssdlife/history/Database.h"

namespace ssdlife {

// Brings a database, also an empty one, to the tables that this ssdlife knows. Throws Failure when
// it is of a newer one.
void migrate(const Database& database);

// Throws Failure when the database is of a newer ssdlife, or of an older one (which the next writer
// brings up to date).
void requireKnown(const Database& database);

}  // namespace ssdlife
