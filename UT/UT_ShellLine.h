// What a command line asks for besides its words: where input comes from and
// output goes to. The lines are parsed by UT_String.

#pragma once

#include "UT_API.h"

/// Why a line was refused.
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

/// What UT_String::parseCsh() and parseDos() report besides the words. To open
/// files and to run commands is left to the caller.
///
/// The texts are borrowed until the parsed string changes or is destroyed; each
/// is null when the line does not ask for it. Thread-compatible.
struct UT_API UT_ShellLine
{
    /// The file that `<` names.
    const char *input = nullptr;

    /// The file that `>` or `>>` names, and whether it is appended to.
    const char *output = nullptr;
    bool appendsOutput = false;

    /// Whether output has the `!` of csh, which overrides a user's wish that no
    /// existing file is overwritten and no missing one appended to.
    bool forcesOutput = false;

    /// Whether errors go where output goes: `>&`, `>>&`, `|&` or `2>&1`.
    /// Deliberate: it does not matter whether `2>&1` or `>` comes first.
    bool joinsErrors = false;

    /// The file that `2>` or `2>>` names, and whether it is appended to.
    const char *errors = nullptr;
    bool appendsErrors = false;

    /// The command that reads the output: all that follows a `|`, as it is
    /// written. It is a line of its own, to be parsed in the same way; its
    /// first byte is at `pipeOffset` in the text that was parsed, -1 without a
    /// pipe.
    const char *pipe = nullptr;
    int pipeOffset = -1;

    /// Why the line was refused, and the offset in its text of the quote, the
    /// reference or the redirection that is at fault; -1 when it was accepted.
    UT_ShellError error = UT_SHELL_ACCEPTED;
    int errorOffset = -1;

    /// The error as an English phrase, "" when there is none. Lives as long as
    /// the process.
    [[nodiscard]] const char *message() const;
};
