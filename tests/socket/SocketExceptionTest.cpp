#include <cerrno>
#include <type_traits>

#include <gtest/gtest.h>

#include "socket/SocketException.h"

using namespace VORNA;

namespace {

template<typename Class, typename Base>
constexpr bool IsPolymorphicKindOf = std::is_base_of_v<Base, Class>&& std::has_virtual_destructor_v<Class>;

static_assert(IsPolymorphicKindOf<Exception, std::exception>);
static_assert(IsPolymorphicKindOf<SocketException, Exception>);
static_assert(IsPolymorphicKindOf<EInvalidSocket, SocketException>);
static_assert(IsPolymorphicKindOf<SocketBindingException, SocketException>);
static_assert(IsPolymorphicKindOf<SocketConnectingException, SocketException>);
static_assert(IsPolymorphicKindOf<ESetReceiveTimeout, SocketException>);
static_assert(IsPolymorphicKindOf<ESetSendTimeout, SocketException>);
static_assert(IsPolymorphicKindOf<ESocketRead, SocketException>);
static_assert(IsPolymorphicKindOf<ESocketWrite, SocketException>);

/// Throws a copy, so that what is caught has been through what throwing does to an exception.
template<typename Class>
void expectCaught(const Class& thrown, const std::string& name, const std::string& message)
{
    try {
        throw thrown; // NOLINT(misc-throw-by-value-catch-by-reference): a copy is thrown
    } catch (const Exception& caught) {
        EXPECT_EQ(caught.name(), name);
        EXPECT_EQ(caught.message(), message);
        EXPECT_STREQ(caught.what(), std::exception().what());
    }
}

} // namespace

TEST(SocketException, EachClassBearsItsNameAndItsMessage)
{
    expectCaught(SocketException("text"), "SocketException", "text");
    expectCaught(EInvalidSocket(0), "EInvalidSocket", "(0)");
    expectCaught(SocketBindingException("text"), "SocketBindingException", "text");
    expectCaught(SocketConnectingException("text"), "SocketConnectingException", "text");
    expectCaught(ESetReceiveTimeout(-1), "ESetReceiveTimeout", "(-1)");
    expectCaught(ESetSendTimeout(-1), "ESetSendTimeout", "(-1)");
    expectCaught(ESocketRead("text"), "ESocketRead", "text");
    expectCaught(ESocketWrite("text"), "ESocketWrite", "text");
}

TEST(SocketException, OfConnectingCarriesTheErrno)
{
    EXPECT_EQ(SocketConnectingException("text").error(), 0);
    EXPECT_EQ(SocketConnectingException("text", EAGAIN).error(), EAGAIN);
}
