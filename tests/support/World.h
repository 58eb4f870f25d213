// What a test needs of the world: a message bus and a store of its own, a simulator, programs.
// Everything ends with the object that started it, and with the thread that did. A program that
// hangs is killed, and an exception says what was waited for and what came instead.
#pragma once

#include <gio/gio.h>
#include <unistd.h>

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

/// One behind the other.
Arguments operator+(Arguments first, const Arguments& second);

/// The words of a line in the shell's quoting.
Arguments Words(const std::string& line);

/// An open file.
struct Descriptor {
    Descriptor(const Descriptor&) = delete;
    ~Descriptor() { close(number); }

    int number;
};

/// A program that runs beside the test.
class Program {
  public:
    /// @param standardError where its standard error goes, instead of into Errors().
    explicit Program(const Arguments& arguments, int standardError = -1);
    /// Ends it with SIGTERM and waits. GLib warns of one that fails.
    ~Program();
    Program(const Program&) = delete;
    Program& operator=(const Program&) = delete;

    /// The next line of its standard output; empty at the end.
    std::string ReadLine();
    void Signal(int signal) const;
    /// Waits for its end and gives its exit status, or minus the signal that ended it.
    int Wait();
    /// The rest of its standard output, when it has ended.
    std::string ReadAll();
    /// What is new on its standard error. What nobody asks for goes to the test's own in the end.
    std::string Errors();

  private:
    bool ReadMore(const char* what);

    std::string m_line;  // that it was started with
    int m_process = 0;   // 0 when it has ended
    int m_status = 0;
    Descriptor m_output{-1};
    std::string m_printed;
    std::size_t m_printedRead = 0;
    Descriptor m_errors;
    std::size_t m_errorsRead = 0;
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

/// `veranti` with the words of a line.
Outcome RunCommand(const std::string& line);

/// The number of open descriptors of this process.
std::size_t OpenDescriptors();

std::string ReadFile(const std::string& path);
