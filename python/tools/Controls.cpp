// Prints what can be done to the simulated set as JSON, from the simulator's table: the methods of ciapi.sim.Simulator.

#include "simulator/control/Controls.h"
#include "json/Draft.h"

#include <iostream>

int main()
{
    using namespace CIM;
    json::TCDraft list = json::List();
    for (const sim::TSControl& control : sim::Controls())
    {
        json::TCDraft parameters = json::List();
        for (const sim::TSParameter& parameter : control.parameters)
        {
            parameters.Append(json::Record({{"name", parameter.name},
                                            {"type", parameter.type->text},
                                            {"needed", parameter.isNeeded},
                                            {"help", parameter.help}}));
        }
        list.Append(
            json::Record({{"verb", control.verb}, {"help", control.help}, {"parameters", std::move(parameters)}}));
    }
    std::cout << list.Text(2) << '\n';
    return std::cout ? 0 : 1;
}
