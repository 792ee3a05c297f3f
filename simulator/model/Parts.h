#pragma once

#include "AppMmi.h"
#include "Ca.h"
#include "Certificates.h"
#include "Debug.h"
#include "Decryption.h"
#include "FileSystems.h"
#include "General.h"
#include "Host.h"
#include "Lifecycle.h"
#include "Mmi.h"
#include "Pin.h"
#include "Player.h"
#include "Profiles.h"
#include "Pvr.h"
#include "Sas.h"
#include "simulator/definition/Crypto.h"
#include "Subscriber.h"
#include "Upgrade.h"

namespace CIM::sim
{
/// Every part of the model, each knowing only those it needs.
struct TSParts
{
    explicit TSParts(TSWorld& world);

    TCCrypto crypto;
    TCCertificates certificates;
    TCPin pin;
    TCMmi mmi;
    TCCa ca;
    TCSas sas;
    TCHost host;
    TCLifecycle lifecycle;
    TCUpgrade upgrade;
    TCAppMmi appMmi;
    TCFileSystems fileSystems;
    TCPlayer player;
    TCDecryption decryption;
    TCProfiles profiles;
    TCPvr pvr;
    TCGeneral general;
    TCDebug debug;
    TCSubscriber subscriber;
};
} // namespace CIM::sim
