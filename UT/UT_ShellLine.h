// The redirections of a command line: where input comes from and where output
// is written. The lines are parsed by UT_String.

#pragma once

#include "UT_API.h"

/// The reason why a line was refused.
enum UT_ShellError
{
    UT_SHELL_ACCEPTED,    ///< it was not
    UT_SHELL_OPEN_QUOTE,  ///< a quote or backquote is not closed
    UT_SHELL_OPEN_BRACE,  ///< a `${` is not closed
    UT_SHELL_NO_NAME,     ///< a redirection has no file name, or an empty one
    UT_SHELL_MANY_NAMES,  ///< the name of a file stands for several words
    UT_SHELL_NO_COMMAND,  ///< nothing before or after a pipe
    UT_SHELL_TWO_INPUTS,  ///< a second `<`
    UT_SHELL_TWO_OUTPUTS, ///< a second `>`, or a pipe after one
    UT_SHELL_TWO_ERROR_OUTPUTS, ///< a second `2>`
    UT_SHELL_TOO_LONG           ///< the line, or what is replaced in it
};

/// The results of UT_String::parseCsh() and parseDos() besides the words.
/// Opening files and running commands is left to the caller.
///
/// The texts are borrowed until the next change of the parsed string; each is
/// null when the line has no such redirection. Thread-compatible.
struct UT_API UT_ShellLine
{
    /// The file that `<` names.
    const char *input = nullptr;

    /// The file that `>` or `>>` names, and whether it is appended to.
    const char *output = nullptr;
    bool appendsOutput = false;

    /// Whether output has the `!` of csh, which overrides a user's setting that
    /// protects existing files from being overwritten and missing ones from
    /// being appended to.
    bool forcesOutput = false;

    /// Whether errors are written to the same place as output: `>&`, `>>&`,
    /// `|&` or `2>&1`. Deliberate: the order of `2>&1` and `>` does not matter.
    bool joinsErrors = false;

    /// The file that `2>` or `2>>` names, and whether it is appended to.
    const char *errors = nullptr;
    bool appendsErrors = false;

    /// The command that reads the output: everything after a `|`, unchanged. It
    /// is a line of its own, to be parsed in the same way; its first byte is at
    /// `pipeOffset` in the text that was parsed, which is -1 without a pipe.
    const char *pipe = nullptr;
    int pipeOffset = -1;

    /// The reason why the line was refused, and the offset in its text of the
    /// invalid quote, reference or redirection; -1 when it was accepted.
    UT_ShellError error = UT_SHELL_ACCEPTED;
    int errorOffset = -1;

    /// The error as an English phrase, "" when there is none. Lives as long as
    /// the process.
    [[nodiscard]] const char *message() const;
};
