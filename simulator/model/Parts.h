#pragma once

#include "AppMmi.h"
#include "Ca.h"
#include "Certificates.h"
#include "Crypto.h"
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
#include "Subscriber.h"
#include "Upgrade.h"

namespace CIM::sim
{
/// Every part of the model, each knowing only those it needs.
struct TSParts
{
    explicit TSParts(TSWorld& world);

    TCrypto crypto;
    TCertificates certificates;
    TPin pin;
    TMmi mmi;
    TCa ca;
    TSas sas;
    THost host;
    TLifecycle lifecycle;
    TUpgrade upgrade;
    TAppMmi appMmi;
    TFileSystems fileSystems;
    TPlayer player;
    TDecryption decryption;
    TProfiles profiles;
    TPvr pvr;
    TGeneral general;
    TDebug debug;
    TSubscriber subscriber;
};
} // namespace CIM::sim
