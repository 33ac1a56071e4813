// What leaves the library, for the headers that know nothing of the toolkit.

#pragma once

/// Marks a class or function that the library exports.
#define SYS_API __attribute__((visibility("default")))
