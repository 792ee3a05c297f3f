#include "Definition.h"

namespace CIM::sim
{
namespace
{
TSMmiPage List(std::u16string title, std::u16string subtitle, std::vector<std::u16string> lines)
{
    TSMmiPage page;
    page.kind = MMI_KIND_LIST;
    page.title = std::move(title);
    page.subtitle = std::move(subtitle);
    page.bottom = u"OK: back";
    for (std::u16string& line : lines)
    {
        page.entries.push_back({std::move(line), {}});
    }
    return page;
}

TSMmiPage Menu(std::u16string title, std::u16string subtitle, std::vector<TSMmiEntry> entries)
{
    TSMmiPage page;
    page.kind = MMI_KIND_MENU;
    page.title = std::move(title);
    page.subtitle = std::move(subtitle);
    page.bottom = u"Choose and press OK";
    page.entries = std::move(entries);
    return page;
}

TSMmiPage Text(std::u16string text)
{
    TSMmiPage page;
    page.kind = MMI_KIND_TEXT;
    page.title = std::move(text);
    return page;
}

TSMmiPage PinEnquiry()
{
    TSMmiPage page;
    page.kind = MMI_KIND_ENQUIRY;
    page.prompt = u"Enter your PIN ({tries} tries left)";
    page.blind = true;
    page.length = 4;
    page.checksPin = true;
    page.whenRight = {List(u"Parental control", u"Unlocked", {u"Rating limit: 18", u"Erotic channels: hidden"})};
    page.whenLocked = {List(u"Parental control", u"Locked", {u"Too many wrong PINs"})};
    page.whenLocked.front().closeAfterMs = 5'000;
    return page;
}

TSMmiPage PostcodeEnquiry()
{
    TSMmiPage page;
    page.kind = MMI_KIND_ENQUIRY;
    page.prompt = u"Enter your postcode";
    page.length = 8;
    page.whenRight = {Text(u"Thank you. Your regional channels follow.")};
    return page;
}

TSMmiPage MainMenu()
{
    const TSMmiPage card = List(u"Smart card", u"Subscription",
                                {u"Card number 0042 1234 5678", u"Valid until 12/2027", u"Packages: Sport, Cinema"});
    const TSMmiPage about = List(u"About", u"Kelvora CAM", {u"Software 1.0.0", u"CI Plus 1.4", u"Slot 0"});
    const TSMmiPage region = Menu(u"Region", u"Where the set is", {{u"Postcode", PostcodeEnquiry()}, {u"Back", {}}});
    TSMmiPage settings =
        Menu(u"Settings", u"", {{u"Parental control", PinEnquiry()}, {u"Region", region}, {u"Close the menu", {}}});
    settings.entries[1].page.entries[1].page.kind = MMI_KIND_BACK;
    return Menu(u"Kelvora CAM", u"Main menu",
                {{u"Smart card", card}, {u"Settings", settings}, {u"About", about}, {u"Exit", {}}});
}

TSCamDefinition PlusCam()
{
    TSCamDefinition cam;
    cam.name = "plus";
    cam.manufacturerId = 0x0B00;
    cam.manufacturerCode = 0x0001;
    cam.menuString = u"Kelvora CAM";
    cam.manufacturerText = u"Kelvora";
    cam.caSystemIds = {0x0B00, 0x0B01};
    cam.emi = 1;
    cam.menu = MainMenu();
    cam.menus["no-entitlement"] =
        List(u"No entitlement", u"This channel is not in your package", {u"Call 0800 000000"});
    cam.menus["message"] = Text(u"A message of your operator");
    cam.upgrade.newMenuString = u"Kelvora CAM 2";
    cam.sasApplications = {
        {0x0000000000000001, SAS_CONNECTION_STATUS_CONNECT_OK, 2, true, {}, {}, 20},
        {0x0000000000000002,
         SAS_CONNECTION_STATUS_CONNECT_OK,
         1,
         false,
         {{'h', 'e', 'l', 'l', 'o'}},
         {{{'p', 'i', 'n', 'g'}, {{'p', 'o', 'n', 'g'}}}},
         20},
    };
    TSFileSystemDefinition files;
    files.files["index.html"].content = {'<', 'p', '>', 'C', 'A', 'M', '<', '/', 'p', '>'};
    files.files["logo.png"].size = 4'096;
    files.files["big.bin"].size = 5 * 1'024 * 1'024;
    cam.fileSystems = {files};
    cam.appMmi.files["start.xml"].content = {'<', 'a', '/', '>'};
    cam.contents = {{"<location>news</location>", true, 600, false, 300, -1, PLAYER_ERROR_PLAYBACK},
                    {"<location>live</location>", true, -1, true, 300, -1, PLAYER_ERROR_PLAYBACK},
                    {"<location>forbidden</location>", false, 600, false, 300, -1, PLAYER_ERROR_PLAYBACK}};
    TSDrmDefinition drm;
    drm.systemId = 0x0B00;
    drm.uuid = {0x10, 0x11, 0x12, 0x13, 0x14, 0x15, 0x16, 0x17, 0x18, 0x19, 0x1A, 0x1B, 0x1C, 0x1D, 0x1E, 0x1F};
    cam.drmSystems = {drm};
    TSProfileDefinition profile;
    profile.name = u"Kelvora Sat";
    profile.supportedAntennaModes = {ANTENNA_MODE_CABLE, ANTENNA_MODE_SATELLITE};
    profile.contentLabels = {u"Films", u"Sport", u"Children"};
    cam.profiles = {profile};
    return cam;
}

TSCamDefinition PlainCam()
{
    TSCamDefinition cam;
    cam.name = "plain";
    cam.mode = CAM_MODE_CI;
    cam.manufacturerId = 0x0100;
    cam.manufacturerCode = 0x0002;
    cam.menuString = u"Plain CAM";
    cam.manufacturerText = u"Kelvora";
    cam.readyMs = 900;
    cam.caSystemIds = {0x0100};
    cam.menu = List(u"Plain CAM", u"", {u"Software 1.0"});
    cam.pin.digits.clear();
    return cam;
}

std::vector<TSRecordingDefinition> Recordings()
{
    TSRecordingDefinition free;
    free.file = "/pvr/free.ts";
    TSRecordingDefinition kept;
    kept.file = "/pvr/ninety-minutes.ts";
    kept.emi = 3;
    kept.cam = "plus";
    kept.sections = {{0, 600'000, 30}};
    kept.limits.fastForward = 0;
    TSRecordingDefinition twice;
    twice.file = "/pvr/play-twice.ts";
    twice.emi = 1;
    twice.playCount = 2;
    twice.cam = "plus";
    TSRecordingDefinition rated;
    rated.file = "/pvr/rated.ts";
    rated.isBlocked = true;
    return {free, kept, twice, rated};
}
} // namespace

TSSetDefinition DefaultSet()
{
    TSSetDefinition set;
    set.cams = {PlusCam(), PlainCam()};
    set.inserted = {{0, "plus"}};
    set.recordings = Recordings();
    set.backupFiles = {"/opt/ci/profiles.db", "/opt/ci/keys.db"};
    set.protectedServices = {"1-1079-28006"};
    return set;
}
} // namespace CIM::sim
