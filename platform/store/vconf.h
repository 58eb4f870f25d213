/// @file
/// The platform's configuration store: texts under keys.
///
/// On this host a key such as "db/veranti/terms_title" is a file in the store's root, named as the
/// key with all but letters, digits and "-._~" escaped as in a URI ("db%2Fveranti%2Fterms_title").
/// The root is VERANTI_STORE; where that is not set, the machine's store, a folder that was fixed
/// when this library was built, if it is there; else "veranti/store" in the user's state folder. A
/// root that may not be used is an error: no other is taken for it. A program with more rights than
/// its caller (set-uid, for one) takes nothing of its environment: its root is the machine's store,
/// else ".local/state/veranti/store" in the home that the user database names for its effective
/// user; where it names none, every call fails (ENOTDIR).
///
/// Who may read the root may read the keys. A key that is null, empty or absolute, or that has an
/// empty, "." or ".." component, is refused (EINVAL), and so is one whose file's name would be
/// longer than 248 bytes (ENAMETOOLONG). A reader sees the old text or the new one, never a part,
/// also when the writer is killed; that may leave its temporary file (the file's name, "#" and six
/// letters), which the key's next writer removes. No thread is cancelled in here.
#pragma once

#pragma GCC visibility push(default)

#ifdef __cplusplus
extern "C" {
#endif

/// Reads a key.
/// @return a copy of the text up to its first NUL, to be released with free(3), or null with errno
///   set: ENOENT when the key is not set, ELOOP when a link is in its place, EINVAL when it is
///   anything else that is no file (a socket: ENXIO).
char* vconf_get_str(const char* key);

/// Writes a key; returns when the text is on the disk.
/// @return 0, or -1 with errno set (EISDIR when a folder is in the key's place); the former text is
///   then still there, unless it is the disk that fails (EIO).
int vconf_set_str(const char* key, const char* value);

/// Removes a key.
/// @return 0, or -1 with errno set (ENOENT when it was not set).
int vconf_unset(const char* key);

/// The root that the other functions use now. A set's store does not have this function.
/// @return a copy of its path without a "/" at the end, to be released with free(3), or null with
///   errno set.
char* vconf_host_root(void);

#ifdef __cplusplus
}
#endif

#pragma GCC visibility pop
