#pragma once

#include <string>

/// The hand that puts CAMs into the set: a small client of the simulator's control object. No TV application needs it.
namespace Control
{
/// \param[in] cam  one of the simulator's CAMs by name
/// \return an empty text, or why it did not work
std::string InsertCam(unsigned char slot, const std::string& cam);
std::string RemoveCam(unsigned char slot);
} // namespace Control
