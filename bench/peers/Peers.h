// The work of the library and of its toolkit, written by hand on bus libraries that anyone can
// install.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

using Bytes = std::vector<std::uint8_t>;

/// A server that sends messages back as they came, and a caller of it.
class Echo {
  public:
    Echo() = default;
    virtual ~Echo() = default;
    Echo(const Echo&) = delete;
    Echo& operator=(const Echo&) = delete;

    /// Sends the message of Greeting with bytes, or without when there are none.
    /// @return the bytes that came back.
    virtual Bytes Call(const Bytes& bytes) = 0;
};

struct Peer {
    const char* name;
    /// Opens a connection to the system bus, sends one request to the terms service and closes it.
    /// @return the reply's text.
    std::string (*ask)(const std::string& request);
    std::unique_ptr<Echo> (*makeEcho)();  ///< null for a peer that only asks
};

extern const Peer kSdBus;
extern const Peer kSdBusQueued;
extern const Peer kSdbusCpp;
extern const Peer kLibDbus;
extern const Peer kGDBus;

/// Where the simulator is met.
namespace Terms {
constexpr char kName[] = "com.velmora.tv.termsclient";
constexpr char kPath[] = "/com/velmora/tv/termsclient";
constexpr char kInterface[] = "com.corvane.Message1";
constexpr char kMethod[] = "Exchange";
}  // namespace Terms

/// What a message holds besides its bytes.
namespace Greeting {
constexpr char kFrom[] = "me";
constexpr std::uint32_t kCode = 7;
constexpr char kType[] = "t";
constexpr char kText[] = "hello";
}  // namespace Greeting

constexpr char kPlainMethod[] = "SendMessage";
constexpr char kBufferMethod[] = "SendMessageWithBuffer";

/// What a server answers for bytes when it was sent none.
inline const Bytes kNoBytes = {0};
