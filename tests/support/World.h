// What a test needs of the world: a message bus and a store of its own, a simulator, programs.
// Everything ends with the object that started it.
#pragma once

#include <gio/gio.h>

#include <memory>
#include <string>
#include <vector>

template <typename Object>
struct Unref {
    void operator()(Object* object) const { g_object_unref(object); }
};
template <typename Object>
using Handle = std::unique_ptr<Object, Unref<Object>>;

using Arguments = std::vector<std::string>;

/// A program that runs beside the test.
class Program {
  public:
    /// @param standardError where its standard error goes; -1 for the test's own.
    explicit Program(const Arguments& arguments, int standardError = -1);
    /// Ends it with SIGTERM, as the end of this process does, and waits.
    ~Program();
    Program(const Program&) = delete;
    Program& operator=(const Program&) = delete;

    /// The next line of its standard output; empty at the end.
    std::string ReadLine();
    void Signal(int signal);
    /// Waits for its end and gives its exit status, or minus the signal that ended it.
    int Wait();

  private:
    Handle<GSubprocess> m_process;
    Handle<GDataInputStream> m_output;
};

/// The system bus of this process and its children.
class PrivateBus : public Program {
  public:
    PrivateBus();
    /// One that listens at an address, which the environment has already.
    explicit PrivateBus(const std::string& address);
    const std::string& Address() const { return m_address; }
    /// Ends the daemon; its address stays set.
    void Stop();

  private:
    std::string m_address;
};

/// An empty folder.
class TemporaryFolder {
  public:
    TemporaryFolder();
    ~TemporaryFolder();
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    const std::string& Path() const { return m_path; }
    /// Writes a file and gives its path.
    std::string Write(const std::string& name, const std::string& text) const;

  private:
    std::string m_path;
};

/// The configuration store of this process and its children.
class TemporaryStore : public TemporaryFolder {
  public:
    TemporaryStore();
};

/// A simulator that serves.
class Simulator : public Program {
  public:
    explicit Simulator(const Arguments& options = {});
};

/// What a program that ran to its end left behind.
struct Outcome {
    int status;
    std::string output;
    std::string errors;
};
Outcome RunProgram(const Arguments& arguments);

/// `veranti` with arguments.
Outcome RunCommand(const Arguments& arguments);

/// The number of open descriptors of this process.
std::size_t OpenDescriptors();

std::string ReadFile(const std::string& path);
