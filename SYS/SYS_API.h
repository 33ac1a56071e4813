// The export macro for the headers of this folder, which do not depend on the
// toolkit.

#pragma once

/// Marks a class or function that the library exports.
#define SYS_API __attribute__((visibility("default")))
