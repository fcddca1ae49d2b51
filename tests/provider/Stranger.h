#pragma once

#include <map>
#include <memory>
#include <random>
#include <set>
#include <string>
#include <vector>

#include <dbus/dbus.h>
#include <sys/types.h>

/// A call that somebody sends to the provider, whether it makes sense or not.
struct ForeignCall
{
    std::string path;
    std::string interface; ///< empty: none
    std::string member;
    std::string signature; ///< of the arguments, which are chosen at random; any that the bus knows
    bool wantsReply = true;
};

/// A client of the bus that chooses every part of a call freely, with the rights of any local user.
class Stranger
{
public:
    using Random = std::mt19937;
    using Message = std::unique_ptr<DBusMessage, void (*)(DBusMessage*)>;
    /// Takes the place of a reply that did not come.
    static constexpr const char* Silence = "no reply";

    /// Connects to the bus at `address` as `user`; needs root unless that is the test's own user. Throws
    /// std::runtime_error.
    Stranger(const std::string& address, uid_t user);
    ~Stranger();
    Stranger(const Stranger&) = delete;
    Stranger& operator=(const Stranger&) = delete;

    /// The call, or a signal of the same parts, with arguments by chance; every text is one of `words`.
    static Message message(const ForeignCall& call, Random& random, const std::vector<std::string>& words,
                           int type = DBUS_MESSAGE_TYPE_METHOD_CALL);

    /// Sends and waits for the reply; the name of the error in it, empty if it is none.
    std::string call(const Message& message);
    /// The same, and the text or object path that is the reply's first argument.
    std::string textOf(const Message& message);
    /// Asks the bus for a name; the error's name, empty if this client has it or waits for it now.
    std::string requestName(const char* name);

    /// Sends without waiting, as long as fewer than a hundred replies are due.
    void send(const Message& message);
    /// Waits for every reply that is due.
    void settle();

    /// How often each error (empty: none) has come in reply to what was sent.
    const std::map<std::string, int>& errors() const { return _errors; }
    /// Replies of the provider that nobody wanted.
    int unwanted() const { return _unwanted; }

private:
    Message reply(const Message& message);
    void receive();
    bool takeIn();

    DBusConnection* _connection = nullptr;
    std::set<dbus_uint32_t> _due;
    std::map<std::string, int> _errors;
    int _unwanted = 0;
};
