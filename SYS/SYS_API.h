// What leaves the library, for the headers here, which know nothing of the
// toolkit.

#pragma once

/// Marks a function that the library exports.
#define SYS_API __attribute__((visibility("default")))
