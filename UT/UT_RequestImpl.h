// The envelope in which a request travels to the application.

#pragma once

#include <climits>
#include <cstddef>

class UT_WorkBuffer;

// The elements of the three kinds of requests.
constexpr char theCommandTag[] = "vscript";
constexpr char theStatementsTag[] = "python_statements";
constexpr char theExpressionTag[] = "python_expression";

// The longest text whose envelope fits a work buffer, also when all of it is
// "]]>", which makes it five times as long.
constexpr size_t theLongestRequestText = (INT_MAX - 256) / 5;

// Replaces the contents of `out` with `text` as CDATA. Each "]]>" is split
// over two sections, so that the receiving parser gets the same bytes. `text`
// must not be part of `out`. O(length).
void encodeAsCData(const char *text, UT_WorkBuffer &out);

// Replaces the contents of `out` with a complete document: the XML declaration
// and an element `tag` that holds `text` as CDATA. `text` must not be part of
// `out`. O(length).
void buildXML(const char *text, const char *tag, UT_WorkBuffer &out);

// The same for `length` bytes, which no NUL has to follow.
void
buildXML(const char *text, size_t length, const char *tag, UT_WorkBuffer &out);
