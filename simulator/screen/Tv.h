#pragma once

#include "Lines.h"
#include "json/Json.h"

#include <functional>
#include <map>
#include <memory>
#include <string>

namespace CIM::sim
{
class TCModel;

/// What a television would show: as the page's own application has read it, or, when another one is looked on, as the CAMs
/// show it. Bound to the thread of the default main context.
class TCTv
{
public:
    /// \param[in] application  a socket to PlayApplication; -1: another application is looked on
    TCTv(TCModel& model, int application);

    bool IsApplication() const { return m_lines != nullptr; }
    json::TJson State();
    /// Has the application make a call. \param[in] answered  hears {"result": ..., "outputs": ...} or {"error": ...}
    /// \throws std::runtime_error when there is no application, or it has too much to do
    void Call(const json::TJson& operation, const json::TJson& arguments, std::function<void(json::TJson)> answered);

private:
    void m_Hear(json::TJson line);
    json::TJson m_OfModel() const;

    TCModel& m_model;
    std::unique_ptr<TCLines> m_lines;
    bool m_isGone = false;
    std::uint64_t m_lastCall = 0;
    std::map<std::uint64_t, std::function<void(json::TJson)>> m_calls;
    json::TJson m_shown; ///< by the application
    std::uint64_t m_pages = 0;
};
} // namespace CIM::sim
