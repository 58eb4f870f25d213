/// @file
/// The platform log.
///
/// On this host a line goes to syslog(3), so that a terminal stays quiet. The environment is read
/// once, at the first line:
///
///   VERANTI_LOG        stderr | off | the path of a regular file, or of a terminal, that lines are
///                      appended to; what cannot be is named on standard error, and syslog used
///   VERANTI_LOG_LEVEL  debug | info | warning | error: the least priority that is written (debug)
///
/// Each line is one write, so lines of several threads and processes do not mix. Where standard
/// error is a pipe, on which only PIPE_BUF bytes are written in one piece, a longer line is cut
/// there. A stream socket takes a line in pieces: there lines of one process do not mix.
///
/// The format's colour codes reach a terminal and are removed everywhere else. All other control
/// characters are escaped, in syslog too, so that a text forges no line and commands no terminal:
/// \n, \r, \t, \x1b for ASCII's; \u009b, \u202e for Unicode's (C1, directions, line and paragraph
/// separators); \xff for a byte that is no UTF-8. A text's own backslash stays as it is.
///
/// A sink that takes no lines (a full pipe that nobody reads, a stopped terminal) stalls the
/// program at its next line, and pthread_cancel, which ends no thread in here, waits with it.
/// Standard error that does not block loses the line instead. A sink that fails costs the line and
/// nothing else: the program gets no SIGPIPE or SIGXFSZ of it.
#pragma once

#pragma GCC visibility push(default)

#ifdef __cplusplus
extern "C" {
#endif

/// Writes one line. Not for signal handlers.
/// @param log_id the log buffer: 0 main, 2 system; others are written with their number.
/// @param priority 3 debug, 4 info, 5 warning, 6 error; less counts as debug, more as error.
/// @param tag names the writer; null is an empty tag.
/// @param format as printf(3); a final line feed is not needed.
/// @return the bytes written, 0 when the line's priority or the sink "off" suppresses it, or a
///   negative error number. errno is left as it was.
int __dlog_print(int log_id, int priority, const char* tag, const char* format, ...)
    __attribute__((format(printf, 4, 5)));

#ifdef __cplusplus
}
#endif

#pragma GCC visibility pop
