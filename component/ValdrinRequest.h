// The envelope in which a command travels to the application.

#pragma once

class UT_WorkBuffer;

/// Replaces the contents of `out` with `text` as CDATA: byte for byte, but
/// each "]]>" is split over two sections, so that the receiving parser gets
/// the same bytes back. `text` must not lie in `out`. O(length).
void encodeAsCData(const char *text, UT_WorkBuffer &out);

/// Replaces the contents of `out` with a whole document: the XML declaration
/// and an element `tag` that holds `text` as CDATA. `text` must not lie in
/// `out`. O(length).
void buildXML(const char *text, const char *tag, UT_WorkBuffer &out);
