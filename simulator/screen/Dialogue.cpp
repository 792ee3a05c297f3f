#include "Dialogue.h"

#include "json/Json.h"

#include <ciapi/CIEnumerations.h>

namespace CIM::sim
{
namespace
{
struct TSKind
{
    int status; ///< as announced
    const char* name;
    const char* operation;
};
constexpr TSKind KINDS[] = {
    {CI_MMI_STATUS_MENU_RECEIVED, "menu", "GetMmiMenu"},
    {CI_MMI_STATUS_LIST_RECEIVED, "list", "GetMmiList"},
    {CI_MMI_STATUS_TEXT_RECEIVED, "text", "GetMmiText"},
    {CI_MMI_STATUS_ENQUIRY_RECEIVED, "enquiry", "GetMmiEnquiry"},
};
} // namespace

json::TJson ReadDialogue(const TInvoke& invoke, unsigned slot, std::optional<int> status)
{
    const json::TCInterfaceForm& general = *json::FindInterface("ICIGeneral");
    for (const TSKind& kind : KINDS)
    {
        if (status && *status != kind.status)
        {
            continue;
        }
        const json::TCOperationForm& operation = *general.Find(kind.operation);
        json::TJson answer = invoke(operation, {{"slot", slot}});
        if (!answer.is_null() && !operation.IsRefusal(answer["result"]))
        {
            json::TJson dialogue = {{"kind", kind.name}};
            dialogue.update(answer["outputs"]);
            return dialogue;
        }
    }
    return {};
}
} // namespace CIM::sim
