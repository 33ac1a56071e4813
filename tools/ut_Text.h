// Texts from elsewhere, for a terminal or for JSON.

#pragma once

#include <string>

/// `text` with the bytes that a terminal would act on as \xHH: the control
/// characters of ASCII, except newline and tab, and those from 0x80 to 0x9f, as
/// UTF-8 or as bytes.
std::string utVisible(const std::string &text);

/// `text` as a string of JSON, with its quotes. Bytes that are not UTF-8 become
/// the characters of their numbers.
std::string utJsonText(const std::string &text);
