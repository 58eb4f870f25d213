#include <sdbus-c++/sdbus-c++.h>

#include <tuple>

#include "Peers.h"

namespace {

constexpr char kName[] = "com.example.SdbusCpp";
constexpr char kPath[] = "/com/example/SdbusCpp";

using Wrapped = std::vector<sdbus::Struct<std::uint8_t>>;
using Message = std::tuple<std::string, std::uint32_t, std::string, std::string, Wrapped>;

Wrapped Wrap(const Bytes& bytes) {
    Wrapped wrapped;
    wrapped.reserve(bytes.size());
    for (const std::uint8_t byte : bytes) {
        wrapped.emplace_back(byte);
    }
    return wrapped;
}

Bytes Unwrap(const Wrapped& wrapped) {
    Bytes bytes;
    bytes.reserve(wrapped.size());
    for (const auto& each : wrapped) {
        bytes.push_back(std::get<0>(each));
    }
    return bytes;
}

std::string Ask(const std::string& request) {
    const auto connection = sdbus::createSystemBusConnection();
    const auto proxy = sdbus::createProxy(*connection, Terms::kName, Terms::kPath);
    std::string text;
    proxy->callMethod(Terms::kMethod)
        .onInterface(Terms::kInterface)
        .withArguments(std::string(), request)
        .storeResultsTo(text);
    return text;
}

class SdbusCppEcho : public Echo {
  public:
    SdbusCppEcho() {
        m_object->registerMethod(kPlainMethod)
            .onInterface(kName)
            .implementedAs([](const std::string& from, std::uint32_t code, const std::string& type,
                              const std::string& text) {
                return Message(from, code, type, text, Wrap(kNoBytes));
            });
        m_object->registerMethod(kBufferMethod)
            .onInterface(kName)
            .implementedAs([](const std::string& from, std::uint32_t code, const std::string& type,
                              const std::string& text, const Wrapped& bytes) {
                return Message(from, code, type, text, bytes);
            });
        m_object->finishRegistration();
        m_server->enterEventLoopAsync();
    }
    ~SdbusCppEcho() override { m_server->leaveEventLoop(); }
    SdbusCppEcho(const SdbusCppEcho&) = delete;
    SdbusCppEcho& operator=(const SdbusCppEcho&) = delete;

    Bytes Call(const Bytes& bytes) override {
        std::string from;
        std::uint32_t code = 0;
        std::string type;
        std::string text;
        Wrapped reply;
        // The call refers to its name.
        const std::string method = bytes.empty() ? kPlainMethod : kBufferMethod;
        auto call = m_caller->callMethod(method);
        call.onInterface(kName);
        if (bytes.empty()) {
            call.withArguments(std::string(Greeting::kFrom), Greeting::kCode,
                               std::string(Greeting::kType), std::string(Greeting::kText));
        } else {
            call.withArguments(std::string(Greeting::kFrom), Greeting::kCode,
                               std::string(Greeting::kType), std::string(Greeting::kText),
                               Wrap(bytes));
        }
        call.storeResultsTo(from, code, type, text, reply);
        return Unwrap(reply);
    }

  private:
    std::unique_ptr<sdbus::IConnection> m_server = sdbus::createSystemBusConnection(kName);
    std::unique_ptr<sdbus::IObject> m_object = sdbus::createObject(*m_server, kPath);
    std::unique_ptr<sdbus::IConnection> m_connection = sdbus::createSystemBusConnection();
    std::unique_ptr<sdbus::IProxy> m_caller = sdbus::createProxy(*m_connection, kName, kPath);
};

}  // namespace

const Peer kSdbusCpp = {"sdbus-c++", Ask,
                        []() -> std::unique_ptr<Echo> { return std::make_unique<SdbusCppEcho>(); }};
