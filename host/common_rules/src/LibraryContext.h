#pragma once
// This library's own module context. The parameter and rule record code linked in here is private to
// the library (see exports.map), so it reads this context rather than the module's. SetXMLDoc changes
// it; each rule call that reaches that code installs it for the call's length, and no longer.
#include "kvx/params/ModuleContext.h"

namespace kvx::common_rules {

kvx::params::ModuleContext& LibraryContext();

}  // namespace kvx::common_rules
