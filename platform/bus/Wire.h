/// @file
/// What travels between an endpoint and a service on this host, for both ends of it.
#pragma once

#include <json/value.h>
#include <systemd/sd-bus.h>

#include <memory>
#include <string>
#include <string_view>

namespace Corvane::Wire {

constexpr char kInterface[] = "com.corvane.Message1";
constexpr char kMethod[] = "Exchange";
constexpr char kRequestTypes[] = "ss";  ///< protocol text, JSON text
constexpr char kReplyTypes[] = "s";     ///< JSON text

/// The path of the object that answers for a bus name.
std::string ObjectPath(std::string_view busName);

/// How deep JSON text that is read may be nested, a number or text in the innermost array included:
/// each level takes some of its reader's stack.
constexpr int kMostLevels = 100;

/// Compact JSON text in ASCII, without comments: whatever bytes a string holds, it can travel.
std::string ToText(const Json::Value& value);

/// Reads JSON text: one value, no comments, nothing behind it, at most kMostLevels deep.
/// @return false when the text is not that; the value is then untouched.
bool FromText(std::string_view text, Json::Value& value);

struct MessageRelease {
    void operator()(sd_bus_message* message) const { sd_bus_message_unref(message); }
};
struct SlotRelease {
    void operator()(sd_bus_slot* slot) const { sd_bus_slot_unref(slot); }
};
struct BusRelease {
    void operator()(sd_bus* bus) const { sd_bus_flush_close_unref(bus); }
};
using MessageHandle = std::unique_ptr<sd_bus_message, MessageRelease>;
using SlotHandle = std::unique_ptr<sd_bus_slot, SlotRelease>;
using BusHandle = std::unique_ptr<sd_bus, BusRelease>;

}  // namespace Corvane::Wire
