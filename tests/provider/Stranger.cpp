#include "tests/provider/Stranger.h"

#include <chrono>
#include <stdexcept>

#include <fcntl.h>
#include <unistd.h>

namespace {

constexpr std::chrono::seconds ReplyBound(10);
constexpr std::size_t MostDue = 100;

int milliseconds(std::chrono::milliseconds time)
{
    return static_cast<int>(time.count());
}

/// Appends values to a message, each part by chance.
class Arguments
{
public:
    Arguments(Stranger::Random& random, const std::vector<std::string>& words)
        : _random(random)
        , _words(words)
    {
    }

    void append(DBusMessageIter& to, DBusSignatureIter& types)
    {
        do {
            appendOne(to, types);
        } while (dbus_signature_iter_next(&types) != FALSE);
    }

private:
    void appendOne(DBusMessageIter& to, DBusSignatureIter& type)
    {
        const int code = dbus_signature_iter_get_current_type(&type);
        if (dbus_type_is_container(code) != FALSE) {
            appendContainer(to, type, code);
        } else if (code == DBUS_TYPE_UNIX_FD) {
            appendDescriptor(to);
        } else {
            appendValue(to, code);
        }
    }

    void appendContainer(DBusMessageIter& to, DBusSignatureIter& type, int code)
    {
        if (code == DBUS_TYPE_VARIANT) {
            appendVariant(to);
            return;
        }
        DBusSignatureIter inner;
        dbus_signature_iter_recurse(&type, &inner);
        const bool isArray = code == DBUS_TYPE_ARRAY;
        char* const content = isArray ? dbus_signature_iter_get_signature(&inner) : nullptr;
        DBusMessageIter container;
        dbus_message_iter_open_container(&to, code, content, &container);
        for (unsigned count = isArray ? below(3) : 1; count > 0; --count) {
            DBusSignatureIter again = inner;
            append(container, again);
        }
        dbus_message_iter_close_container(&to, &container);
        dbus_free(content);
    }

    void appendVariant(DBusMessageIter& to)
    {
        DBusMessageIter container;
        const std::string type = below(2) == 0 ? "s" : "u";
        dbus_message_iter_open_container(&to, DBUS_TYPE_VARIANT, type.c_str(), &container);
        appendValue(container, type.front());
        dbus_message_iter_close_container(&to, &container);
    }

    static void appendDescriptor(DBusMessageIter& to)
    {
        const int descriptor = open("/dev/null", O_RDONLY | O_CLOEXEC);
        dbus_message_iter_append_basic(&to, DBUS_TYPE_UNIX_FD, &descriptor);
        close(descriptor);
    }

    void appendValue(DBusMessageIter& to, int code)
    {
        DBusBasicValue value;
        value.u64 = _random();
        std::string text;
        if (code == DBUS_TYPE_BOOLEAN) {
            value.bool_val = below(2) == 0 ? FALSE : TRUE;
        } else if (dbus_type_is_basic(code) != FALSE && dbus_type_is_fixed(code) == FALSE) {
            text = textFor(code);
            value.str = text.data();
        }
        dbus_message_iter_append_basic(&to, code, &value);
    }

    std::string textFor(int code)
    {
        if (code == DBUS_TYPE_OBJECT_PATH) {
            return "/org/freedesktop/UDisks";
        }
        return code == DBUS_TYPE_SIGNATURE ? "a{sv}" : _words[below(static_cast<unsigned>(_words.size()))];
    }

    unsigned below(unsigned bound) { return static_cast<unsigned>(_random() % bound); }

    Stranger::Random& _random;
    const std::vector<std::string>& _words;
};

std::string errorIn(DBusMessage* reply)
{
    const char* const error = dbus_message_get_error_name(reply);
    return error != nullptr ? error : "";
}

/// The bus refuses what its policy forbids whether a reply is wanted or not.
bool isFromTheBus(DBusMessage* message)
{
    return dbus_message_has_sender(message, DBUS_SERVICE_DBUS) != FALSE;
}

} // namespace

Stranger::Stranger(const std::string& address, uid_t user)
{
    const uid_t own = geteuid();
    if (seteuid(user) != 0) {
        throw std::runtime_error("cannot become another user");
    }
    _connection = dbus_connection_open_private(address.c_str(), nullptr);
    const bool isThere = _connection != nullptr && dbus_bus_register(_connection, nullptr) != FALSE;
    if (seteuid(own) != 0 || !isThere) {
        throw std::runtime_error("the bus does not admit this user");
    }
    dbus_connection_set_exit_on_disconnect(_connection, FALSE);
}

Stranger::~Stranger()
{
    dbus_connection_close(_connection);
    dbus_connection_unref(_connection);
}

Stranger::Message Stranger::message(const ForeignCall& call, Random& random,
                                    const std::vector<std::string>& words, int type)
{
    Message result(dbus_message_new(type), &dbus_message_unref);
    dbus_message_set_destination(result.get(), "org.freedesktop.UDisks");
    dbus_message_set_path(result.get(), call.path.c_str());
    dbus_message_set_interface(result.get(), call.interface.empty() ? nullptr : call.interface.c_str());
    dbus_message_set_member(result.get(), call.member.c_str());
    dbus_message_set_no_reply(result.get(), call.wantsReply ? FALSE : TRUE);
    if (!call.signature.empty()) {
        DBusMessageIter to;
        dbus_message_iter_init_append(result.get(), &to);
        DBusSignatureIter types;
        dbus_signature_iter_init(&types, call.signature.c_str());
        Arguments(random, words).append(to, types);
    }
    return result;
}

std::string Stranger::call(const Message& message)
{
    const Message answer = reply(message);
    return answer ? errorIn(answer.get()) : Silence;
}

std::string Stranger::textOf(const Message& message)
{
    const Message answer = reply(message);
    DBusMessageIter at;
    if (!answer || dbus_message_iter_init(answer.get(), &at) == FALSE) {
        return Silence;
    }
    const char* text = "no text";
    const int type = dbus_message_iter_get_arg_type(&at);
    if (type == DBUS_TYPE_STRING || type == DBUS_TYPE_OBJECT_PATH) {
        dbus_message_iter_get_basic(&at, &text);
    }
    return text;
}

std::string Stranger::requestName(const char* name)
{
    DBusError error = DBUS_ERROR_INIT;
    dbus_bus_request_name(_connection, name, 0, &error);
    std::string result = dbus_error_is_set(&error) != FALSE ? error.name : "";
    dbus_error_free(&error);
    return result;
}

void Stranger::send(const Message& message)
{
    while (_due.size() >= MostDue) {
        receive();
    }
    dbus_uint32_t serial = 0;
    dbus_connection_send(_connection, message.get(), &serial);
    if (dbus_message_get_type(message.get()) == DBUS_MESSAGE_TYPE_METHOD_CALL &&
        dbus_message_get_no_reply(message.get()) == FALSE) {
        _due.insert(serial);
    }
}

void Stranger::settle()
{
    while (!_due.empty()) {
        receive();
    }
}

Stranger::Message Stranger::reply(const Message& message)
{
    DBusPendingCall* pending = nullptr;
    dbus_connection_send_with_reply(_connection, message.get(), &pending, milliseconds(ReplyBound));
    if (pending == nullptr) {
        return {nullptr, &dbus_message_unref};
    }
    dbus_pending_call_block(pending);
    Message result(dbus_pending_call_steal_reply(pending), &dbus_message_unref);
    dbus_pending_call_unref(pending);
    return result;
}

/// Waits until something arrives. After the bound everything that is due counts as silence.
void Stranger::receive()
{
    const auto end = std::chrono::steady_clock::now() + ReplyBound;
    while (!takeIn()) {
        if (std::chrono::steady_clock::now() > end) {
            _errors[Silence] += static_cast<int>(_due.size());
            _due.clear();
            return;
        }
        dbus_connection_read_write(_connection, milliseconds(ReplyBound));
    }
}

bool Stranger::takeIn()
{
    bool hasArrived = false;
    while (const Message arrived{dbus_connection_pop_message(_connection), &dbus_message_unref}) {
        hasArrived = true;
        const dbus_uint32_t serial = dbus_message_get_reply_serial(arrived.get());
        if (serial != 0 && _due.erase(serial) > 0) {
            ++_errors[errorIn(arrived.get())];
        } else if (serial != 0 && !isFromTheBus(arrived.get())) {
            ++_unwanted;
        }
    }
    return hasArrived;
}
