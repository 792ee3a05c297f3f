#pragma once

namespace CIM::sim
{
/// The application that the page's keys make: it calls the nine interfaces through the library, hears all signals of the
/// slots, and reads each dialogue that a CAM opens. For a process of its own, with a single thread, on the bus.
///
/// It takes lines {"call": "ICIGeneral.EnterMenu", "arguments": {...}, "id": 1}, one after the other, and gives
///
///   {"answer": 1, "result": ..., "outputs": {...}} or {"answer": 1, "error": "..."}
///   {"calling": "ICIGeneral.EnterMenu"}, null once it has returned
///   {"dialogue": 0, "page": {...}}, the dialogue of slot 0, null when it is closed
///   {"question": 0, "about": "pin" or "upgrade"}, what the set itself has to ask the viewer; null once it is answered
///   {"signal": {"type": ..., "slot": ..., "words": ...}}
///
/// \param[in] descriptor  a socket, whose other end is the simulator's
/// \return the exit status, once the other end is closed, or a signal has asked for the end
int PlayApplication(int descriptor);
} // namespace CIM::sim
