#pragma once

#include <ciapi-testing/Export.h>
#include <ciapi-testing/Member.h>

#include <algorithm>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <typeindex>
#include <utility>
#include <vector>

namespace CIM::test
{
namespace detail
{
/// Makes an object that answers as an interface does on a set without CI.
/// \param[in] interface  one of the nine
/// \return points to the interface, which deletes it
/// \throws std::invalid_argument when it is no interface of the library's
CIAPI_TESTING_EXPORT void* NewNull(std::type_index interface);

template <class Interface>
std::unique_ptr<Interface> MakeNull()
{
    return std::unique_ptr<Interface>(static_cast<Interface*>(NewNull(typeid(Interface))));
}
} // namespace detail

/// What all fakes have in common. An operation that the test says nothing about answers as on a set without CI: no, at
/// once, outputs untouched except where the interface says otherwise. Thread-safe, like what it stands for.
template <class Interface_>
class TFake : public Interface_
{
public:
    using Interface = Interface_; ///< what it stands for

    /// Lets a function answer an operation from now on.
    /// \param[in] member  the operation; see Overload for those that share a name
    /// \param[in] answer  takes the operation's parameters and returns its result; called on the caller's thread
    template <class Result, class... Arguments, class Function>
    void On(Result (Interface::*member)(Arguments...), Function answer)
    {
        using TAnswer = std::function<Result(Arguments...)>;
        auto function = std::make_shared<TAnswer>(detail::Fit(member, std::move(answer)));
        const std::lock_guard lock(m_mutex);
        m_operations[KeyOf(member)].answer = std::move(function);
    }

    /// Takes the test's answer back.
    template <class Result, class... Arguments>
    void Reset(Result (Interface::*member)(Arguments...))
    {
        const std::lock_guard lock(m_mutex);
        m_operations[KeyOf(member)].answer.reset();
    }

    /// How often an operation was called.
    template <class Result, class... Arguments>
    unsigned CallCount(Result (Interface::*member)(Arguments...)) const
    {
        const std::lock_guard lock(m_mutex);
        const auto found = m_operations.find(KeyOf(member));
        return found != m_operations.end() ? found->second.calls : 0;
    }

    /// The names of the operations in the order in which they were called.
    std::vector<std::string> Calls() const
    {
        const std::lock_guard lock(m_mutex);
        return m_calls;
    }

protected:
    /// One call: recorded, then answered.
    template <class Result, class... Arguments>
    Result t_Answer(const char* name, Result (Interface::*member)(Arguments...),
                    std::add_lvalue_reference_t<Arguments>... arguments)
    {
        std::shared_ptr<void> answer;
        {
            const std::lock_guard lock(m_mutex);
            m_calls.emplace_back(name);
            auto& operation = m_operations[KeyOf(member)];
            ++operation.calls;
            answer = operation.answer;
        }
        if (answer != nullptr)
        {
            return (*static_cast<std::function<Result(Arguments...)>*>(answer.get()))(arguments...);
        }
        return ((*m_null).*member)(arguments...);
    }

private:
    struct TSOperation
    {
        std::shared_ptr<void> answer; ///< a std::function of the operation's type
        unsigned calls = 0;
    };

    const std::unique_ptr<Interface> m_null = detail::MakeNull<Interface>();
    mutable std::mutex m_mutex;
    std::map<TSMemberKey, TSOperation> m_operations;
    std::vector<std::string> m_calls;
};
} // namespace CIM::test

// The body of one operation of a fake: the number of its parameters, its name, and, for one of several of that name,
// the type of its member function. Everything else the compiler finds in the interface.
// clang-format off
#define CIAPI_FAKE(count, name) CIAPI_FAKE_##count(name, decltype(&Interface::name))
#define CIAPI_FAKE_OVERLOAD(count, name, ...) CIAPI_FAKE_##count(name, __VA_ARGS__)
#define CIAPI_FAKE_0(name, ...)                                               \
    ::CIM::test::detail::TResult<__VA_ARGS__> name() override                 \
    {                                                                         \
        using TMember = __VA_ARGS__;                                          \
        return this->t_Answer(#name, static_cast<TMember>(&Interface::name)); \
    }
#define CIAPI_FAKE_1(name, ...)                                                  \
    ::CIM::test::detail::TResult<__VA_ARGS__> name(                              \
        ::CIM::test::detail::TArgument<0, __VA_ARGS__> a) override               \
    {                                                                            \
        using TMember = __VA_ARGS__;                                             \
        return this->t_Answer(#name, static_cast<TMember>(&Interface::name), a); \
    }
#define CIAPI_FAKE_2(name, ...)                                                     \
    ::CIM::test::detail::TResult<__VA_ARGS__> name(                                 \
        ::CIM::test::detail::TArgument<0, __VA_ARGS__> a,                           \
        ::CIM::test::detail::TArgument<1, __VA_ARGS__> b) override                  \
    {                                                                               \
        using TMember = __VA_ARGS__;                                                \
        return this->t_Answer(#name, static_cast<TMember>(&Interface::name), a, b); \
    }
#define CIAPI_FAKE_3(name, ...)                                                        \
    ::CIM::test::detail::TResult<__VA_ARGS__> name(                                    \
        ::CIM::test::detail::TArgument<0, __VA_ARGS__> a,                              \
        ::CIM::test::detail::TArgument<1, __VA_ARGS__> b,                              \
        ::CIM::test::detail::TArgument<2, __VA_ARGS__> c) override                     \
    {                                                                                  \
        using TMember = __VA_ARGS__;                                                   \
        return this->t_Answer(#name, static_cast<TMember>(&Interface::name), a, b, c); \
    }
#define CIAPI_FAKE_4(name, ...)                                                           \
    ::CIM::test::detail::TResult<__VA_ARGS__> name(                                       \
        ::CIM::test::detail::TArgument<0, __VA_ARGS__> a,                                 \
        ::CIM::test::detail::TArgument<1, __VA_ARGS__> b,                                 \
        ::CIM::test::detail::TArgument<2, __VA_ARGS__> c,                                 \
        ::CIM::test::detail::TArgument<3, __VA_ARGS__> d) override                        \
    {                                                                                     \
        using TMember = __VA_ARGS__;                                                      \
        return this->t_Answer(#name, static_cast<TMember>(&Interface::name), a, b, c, d); \
    }
#define CIAPI_FAKE_5(name, ...)                                                              \
    ::CIM::test::detail::TResult<__VA_ARGS__> name(                                          \
        ::CIM::test::detail::TArgument<0, __VA_ARGS__> a,                                    \
        ::CIM::test::detail::TArgument<1, __VA_ARGS__> b,                                    \
        ::CIM::test::detail::TArgument<2, __VA_ARGS__> c,                                    \
        ::CIM::test::detail::TArgument<3, __VA_ARGS__> d,                                    \
        ::CIM::test::detail::TArgument<4, __VA_ARGS__> e) override                           \
    {                                                                                        \
        using TMember = __VA_ARGS__;                                                         \
        return this->t_Answer(#name, static_cast<TMember>(&Interface::name), a, b, c, d, e); \
    }
#define CIAPI_FAKE_6(name, ...)                                                                 \
    ::CIM::test::detail::TResult<__VA_ARGS__> name(                                             \
        ::CIM::test::detail::TArgument<0, __VA_ARGS__> a,                                       \
        ::CIM::test::detail::TArgument<1, __VA_ARGS__> b,                                       \
        ::CIM::test::detail::TArgument<2, __VA_ARGS__> c,                                       \
        ::CIM::test::detail::TArgument<3, __VA_ARGS__> d,                                       \
        ::CIM::test::detail::TArgument<4, __VA_ARGS__> e,                                       \
        ::CIM::test::detail::TArgument<5, __VA_ARGS__> f) override                              \
    {                                                                                           \
        using TMember = __VA_ARGS__;                                                            \
        return this->t_Answer(#name, static_cast<TMember>(&Interface::name), a, b, c, d, e, f); \
    }
// clang-format on
