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
/// there. Colour codes reach a terminal and are removed everywhere else.
#pragma once

#pragma GCC visibility push(default)

#ifdef __cplusplus
extern "C" {
#endif

/// Writes one line.
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
