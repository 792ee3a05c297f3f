#include "json/Interfaces.h"
#include "json/RowForm.h"

#include "protocol/SampleDecryption.h"

#include <ciapi/CIService.h>

const CIM::json::TInterfaceForm& CIM::json::SampleDecryptionForm()
{
    static const TInterfaceForm form =
        MakeInterfaceForm<ICISampleDecryption>([]() -> void* { return TCCIService::CISampleDecryptionInstance(); });
    return form;
}
