// The configuration store, as tests look at it.
#pragma once

#include <glib.h>
#include <vconf.h>

#include <cstdlib>
#include <memory>
#include <string>

#include "World.h"

/// A key's text; "(null)" when it cannot be read.
inline std::string Stored(const char* key) {
    const std::unique_ptr<char, decltype(&std::free)> text(vconf_get_str(key), &std::free);
    return text ? text.get() : "(null)";
}

/// The path of a key's file, for who has to break it.
inline std::string FileOf(const TemporaryFolder& store, const char* key) {
    const g_autofree char* name = g_uri_escape_string(key, nullptr, FALSE);
    return store.Path() + '/' + name;
}
