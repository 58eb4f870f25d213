// The bus framework of a set that exists in this folder only.
#pragma once

#include <json/value.h>

#include <string>

#pragma GCC visibility push(default)

namespace Corvane {

class TCMessage {
  public:
    Json::Value m_JsonBody;
    std::string m_Protocol;
};

class TCServer {
  public:
    enum TCServerType { TC_SERVER_AUTOMATIC = 2 };

    TCServer(std::string name, TCServerType type);
    virtual ~TCServer();
    bool CreateDBusProxy();
    bool SendMessage(const char* destination, const TCMessage* request, bool synchronous,
                     TCMessage* reply, int timeLimit);
    bool CloseDBusProxy();
};

}  // namespace Corvane

#pragma GCC visibility pop
