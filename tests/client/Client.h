#pragma once

#include <string>
#include <vector>

#include <QProcess>

/// The shipped vrmountctl, run as a script would run it.
class Client
{
public:
    /// Starts it in a session of its own, so that a signal can be sent to all its terminal would signal.
    explicit Client(const std::vector<std::string>& arguments);
    /// As above, on standard streams of the shell's choosing, as in "<&- >file".
    Client(const std::vector<std::string>& arguments, const std::string& redirections);
    ~Client();
    Client(const Client&) = delete;
    Client& operator=(const Client&) = delete;

    pid_t id() const { return static_cast<pid_t>(_process.processId()); }
    bool isRunning() const { return _process.state() != QProcess::NotRunning; }

    /// Waits for its end; 128 and more for a signal, -1 if it still runs after ten seconds.
    int status();
    std::string output();
    std::string complaint();

private:
    QProcess _process;
};

/// The output and status of a client that ran to its end.
struct ClientResult
{
    int status = -1;
    std::string output;
    std::string complaint;

    bool operator==(const ClientResult& other) const
    {
        return status == other.status && output == other.output && complaint == other.complaint;
    }
};

void PrintTo(const ClientResult& result, std::ostream* stream);

ClientResult resultOf(Client& client);
ClientResult run(const std::vector<std::string>& arguments);
