#pragma once

#include "Spoken.h"

// What a story takes over of recorded calls and signals. All functions are reentrant.

namespace CIM::sim
{
/// Whether a call does something, rather than ask for something.
bool IsActing(const TSRecordedCall& call);
/// Whether an operation is about a CAM's dialogue.
bool IsMmi(const std::string& operation);

/// The arguments by which a call is known in a story.
json::TJson Telling(const TSRecordedCall& call, const TSSpoken& spoken);
/// A call as conditions and expectations name it.
json::TJson Pattern(const TSRecordedCall& call, const TSSpoken& spoken);

/// A recording up to where its applications leave: in the end there are only unsubscriptions. What they end right before
/// that is their farewell, too: they do so when they are asked to leave.
TSRecording WithoutFarewell(TSRecording recording);

/// What is done to a set so that it raises a signal; null: nothing but to raise it.
json::TJson DeedFor(const TSSignal& signal);
/// The control that raises a signal.
json::TJson RaisedDeed(const TSSignal& signal);
} // namespace CIM::sim
