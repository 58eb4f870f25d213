/// @file
/// What the simulated service does wrong on request, for people who write user interfaces.
#pragma once

#include <chrono>
#include <map>
#include <string>
#include <vector>

struct Misbehaviour {
    bool fails = false;    ///< answers with "result" false
    bool silent = false;   ///< never answers
    bool garbage = false;  ///< answers with a text that is not JSON
    std::chrono::milliseconds delay{0};
};

/// Misbehaviour by the name of the request.
class MisbehaviourPlan {
  public:
    /// Plans what requests are to suffer.
    /// @param what &Misbehaviour::fails, silent or garbage.
    /// @throws std::invalid_argument for a name that is no request's.
    void Plan(bool Misbehaviour::*what, const std::vector<std::string>& methods);

    /// Plans delays, each METHOD=MILLISECONDS.
    /// @throws std::invalid_argument saying what is wrong with one.
    void Delay(const std::vector<std::string>& methods);

    /// What a request gets; good behaviour when nothing was planned.
    Misbehaviour Of(const std::string& method) const;

  private:
    Misbehaviour& For(const std::string& method);

    std::map<std::string, Misbehaviour> m_plan;
};
