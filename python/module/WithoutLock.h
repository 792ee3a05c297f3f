#pragma once

#include <pybind11/pybind11.h>

#include <unistd.h>

namespace CIM::python
{
/// Releases the interpreter's lock for a block that waits, or that takes locks of the library. A thread that comes back
/// when the interpreter is ending stays where it is until the process is gone: the interpreter would end it in the middle
/// of C++.
class TCWithoutLock
{
public:
    // What runs while the interpreter ends is on the thread that ends it: that one comes back.
    TCWithoutLock() : m_isEnding(_Py_IsFinalizing() != 0), m_state(PyEval_SaveThread()) {}
    ~TCWithoutLock() noexcept(false) // the interpreter may end the thread by unwinding it
    {
        while (!m_isEnding && _Py_IsFinalizing() != 0)
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
