#include <ciapi-testing/Fakes.h>

#include "no_ci/MakeNull.h"
#include "protocol/InterfaceList.h"

#include <stdexcept>

namespace CIM::test::detail
{
void* NewNull(std::type_index interface)
{
    void* made = nullptr;
    protocol::ForEachInterface(
        [&]<class Interface>(protocol::TType<Interface>)
        {
            if (interface == typeid(Interface))
            {
                made = CIM::MakeNull<Interface>().release();
            }
        });
    if (made == nullptr)
    {
        throw std::invalid_argument("there is no such interface");
    }
    return made;
}
} // namespace CIM::test::detail
