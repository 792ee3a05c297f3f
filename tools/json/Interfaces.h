#pragma once

namespace CIM::json
{
class TInterfaceForm;

// One function, and one source, for each interface; Interfaces() has them all.
const TInterfaceForm& GeneralForm();
const TInterfaceForm& AppMMIForm();
const TInterfaceForm& AuxiliaryFileSystemForm();
const TInterfaceForm& CICAMPlayerForm();
const TInterfaceForm& DebugForm();
const TInterfaceForm& OperatorProfileForm();
const TInterfaceForm& PvrCipForm();
const TInterfaceForm& SampleDecryptionForm();
const TInterfaceForm& SignalSubscriberForm();
} // namespace CIM::json
