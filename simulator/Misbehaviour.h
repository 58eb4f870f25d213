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
    /// @name One option of the command line each
    /// Each takes the names of requests (METHOD, or METHOD=MILLISECONDS for delays).
    /// @throws std::invalid_argument saying what is wrong with the option.
    /// @{
    void Fail(const std::vector<std::string>& methods);
    void Silence(const std::vector<std::string>& methods);
    void Garble(const std::vector<std::string>& methods);
    void Delay(const std::vector<std::string>& methods);
    /// @}

    /// What a request gets; good behaviour when nothing was planned.
    Misbehaviour Of(const std::string& method) const;

  private:
    Misbehaviour& For(const std::string& method);

    std::map<std::string, Misbehaviour> m_plan;
};
