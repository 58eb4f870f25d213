/// @file
/// The platform's configuration store: texts under keys.
///
/// On this host a key is the path of a file below the store's root, such as
/// "db/veranti/terms_title". The root is VERANTI_STORE, else "veranti/store" in the user's state
/// folder. Who may read the root may read the keys. A key that is null, empty or absolute, or that
/// has an empty, "." or ".." component, is refused, and no symbolic link below the root is
/// followed. A reader sees the old text or the new one, never a part, also when the writer is
/// killed; that may leave its temporary file (the key's name with six letters behind it) beside the
/// key.
#pragma once

#pragma GCC visibility push(default)

#ifdef __cplusplus
extern "C" {
#endif

/// Reads a key.
/// @return a copy of the text up to its first NUL, to be released with free(3), or null with errno
///   set: ENOENT when the key is not set, EINVAL for a refused key, ELOOP or ENOTDIR behind a link.
char* vconf_get_str(const char* key);

/// Writes a key; returns when the text is on the disk.
/// @return 0, or -1 with errno set; the former text is then still there.
int vconf_set_str(const char* key, const char* value);

/// Removes a key.
/// @return 0, or -1 with errno set (ENOENT when it was not set).
int vconf_unset(const char* key);

#ifdef __cplusplus
}
#endif

#pragma GCC visibility pop
