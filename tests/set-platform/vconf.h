// The configuration store of a set that exists in this folder only.
#pragma once

extern "C" __attribute__((visibility("default"))) char* vconf_get_str(const char* key);
