#pragma once

#include <cstddef>

// The one list of the interfaces. Whatever exists once an interface comes from it; their tables are in Interfaces.h.

namespace CIM
{
class ICIAppMMI;
class ICIAuxiliaryFileSystem;
class ICICAMPlayer;
class ICIDebug;
class ICIGeneral;
class ICIOperatorProfile;
class ICISampleDecryption;
class ICISignalSubscriber;
class IPvrCip;

namespace protocol
{
/// A list of types.
template <class... Types>
struct TList
{
    static constexpr std::size_t COUNT = sizeof...(Types);
    /// The same list as arguments of another template.
    template <template <class...> class Template>
    using As = Template<Types...>;
    /// As As, each type wrapped.
    template <template <class...> class Template, template <class> class Wrapper>
    using AsEach = Template<Wrapper<Types>...>;
};

/// The nine interfaces, in the order in which the facade ends their instances.
using TInterfaces = TList<ICIGeneral, ICIAppMMI, ICIOperatorProfile, IPvrCip, ICIDebug, ICIAuxiliaryFileSystem,
                          ICISignalSubscriber, ICICAMPlayer, ICISampleDecryption>;

/// Carries a type to a generic lambda.
template <class Type>
struct TType
{
    using type = Type;
};

/// Calls visitor(TType<Interface>()) for each interface, in order.
template <class Visitor, class... Interfaces>
constexpr void ForEachInterface(Visitor&& visitor, TList<Interfaces...>)
{
    (visitor(TType<Interfaces>()), ...);
}
template <class Visitor>
constexpr void ForEachInterface(Visitor&& visitor)
{
    ForEachInterface(visitor, TInterfaces());
}
} // namespace protocol
} // namespace CIM
