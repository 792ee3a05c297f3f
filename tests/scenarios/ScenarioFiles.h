#pragma once

#include "support/Shell.h"
#include "support/TestEnvironment.h"

#include <fstream>
#include <iterator>
#include <string>

// Scenario files of a test, and the simulator that plays them.

using CIM::Shell;
using CIM::TSOutput;

inline std::string ReadFile(const std::string& path)
{
    std::ifstream stream(path);
    return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
}

inline std::string Sim() { return SIMULATOR; }

class TCFolder : public CIM::TCTempFolder
{
public:
    std::string operator/(const std::string& file) const { return File(file); }
    std::string Write(const std::string& file, const std::string& text) const
    {
        std::ofstream(*this / file) << text;
        return *this / file;
    }
};
