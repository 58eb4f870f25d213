/// @file
/// Messages of the bus server toolkit: made of what the command line gives, and as they are
/// printed.
#pragma once

#include <TermsDbusAPI.h>

#include "Subcommands.h"

/// A record to send: it borrows what it is made of.
struct OutgoingMessage : TermsDbusMessage {
    /// @throws std::runtime_error when there is a file that cannot be read.
    explicit OutgoingMessage(const Options& given);
    OutgoingMessage(const OutgoingMessage&) = delete;
    OutgoingMessage& operator=(const OutgoingMessage&) = delete;

  private:
    std::string m_from = "veranti";
    std::string m_type;
    std::string m_text;
    std::string m_bytes;
};

/// A received record for scripts, its bytes in Base64.
Json::Value ToJson(const TermsDbusMessage& message);

/// A received record for people, on one line.
std::string ToText(const TermsDbusMessage& message);

/// Prints what happens, while it happens.
void Print(const Options& given, const Json::Value& json, const std::string& text);

/// Prints an event that is no message.
void PrintEvent(const Options& given, const std::string& event, const std::string& text);
