// The envelope in which a command travels to the application.

#pragma once

class UT_WorkBuffer;

/// Replaces the contents of `out` with `text` as CDATA. Each "]]>" is split
/// over two sections, so that the receiving parser gets the same bytes. `text`
/// must not be part of `out`. O(length).
void encodeAsCData(const char *text, UT_WorkBuffer &out);

/// Replaces the contents of `out` with a complete document: the XML declaration
/// and an element `tag` that holds `text` as CDATA. `text` must not be part of
/// `out`. O(length).
void buildXML(const char *text, const char *tag, UT_WorkBuffer &out);
