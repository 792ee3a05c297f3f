#pragma once

#include <pybind11/pybind11.h>

#include <unistd.h>

namespace CIM::python
{
inline bool IsInterpreterEnding()
{
#if PY_VERSION_HEX >= 0x030D0000 // when it got its public name
    return Py_IsFinalizing() != 0;
#else
    return _Py_IsFinalizing() != 0;
#endif
}

/// Releases the interpreter's lock for a block that waits, or that takes locks of the library. A thread that comes back
/// when the interpreter is ending stays where it is until the process is gone: the interpreter would end it in the middle
/// of C++.
class TCWithoutLock
{
public:
    // What runs while the interpreter ends is on the thread that ends it: that one comes back.
    TCWithoutLock() : m_isEnding(IsInterpreterEnding()), m_state(PyEval_SaveThread()) {}
    ~TCWithoutLock() noexcept(false) // the interpreter may end the thread by unwinding it
    {
        while (!m_isEnding && IsInterpreterEnding())
        {
            pause();
        }
        PyEval_RestoreThread(m_state);
    }
    TCWithoutLock(const TCWithoutLock&) = delete;
    TCWithoutLock& operator=(const TCWithoutLock&) = delete;

private:
    const bool m_isEnding;
    PyThreadState* m_state;
};
} // namespace CIM::python
