/// @file
/// The process's server of the bus server toolkit.
#pragma once

#include <TermsDbusAPI.h>

#include <string>
#include <utility>

/// A server under a name; it ends with the object.
class BusServer {
  public:
    explicit BusServer(std::string name) : m_name(std::move(name)) {
        InitiateTermsDbusServer(m_name.c_str());
    }
    ~BusServer() { CloseTermsDbusServer(m_name.c_str()); }
    BusServer(const BusServer&) = delete;
    BusServer& operator=(const BusServer&) = delete;

    template <typename Function>
    void On(TermsDbusCallbackType type, Function* callback, void* data) {
        RegisterTermsDbusCallback(m_name.c_str(), type, reinterpret_cast<void*>(callback), data);
    }
    bool Create() { return CreateTermsDbusServer(m_name.c_str()) != 0; }
    const char* Name() const { return m_name.c_str(); }

  private:
    std::string m_name;
};
