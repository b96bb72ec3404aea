#include "Tests/PictureHost/BadgedHost.h"

#include <filesystem>

#include "Tests/PictureFiles/PictureFiles.h"

namespace wevora::testing_host {
namespace {

std::string badgeFile(const Halves& halves) {
  std::vector<IcnsElement> elements;
  for (const auto& [type, side] :
       {std::pair<const char*, std::size_t>{"icp4", 16}, {"icp5", 32}, {"icp6", 64}, {"ic07", 128}})
    elements.push_back(pngElement(type, *twoHalves(side, side, halves.upper, halves.lower)));
  return icnsFile(elements);
}

}  // namespace

InstalledBundle::InstalledBundle(bool withPictures)
    : contents(
          paths.translate("/Library/Wevora/FinderPlugin/Bundle/finder_bundle.bundle/Contents/")) {
  std::filesystem::create_directories(contents + "Resources");
  if (withPictures) addPictures();
}

void InstalledBundle::addPictures() {
  writeFile(contents + "Resources/ok.icns", badgeFile(kGreen));
  writeFile(contents + "Resources/backup.icns", badgeFile(kBlue));
  writeFile(contents + "Resources/w.icns", badgeFile(kRed));
  writeTiff(contents + "Resources/sidebar.tiff",
            {{twoHalves(32, 32, kSidebar.upper, kSidebar.lower), 72},
             {twoHalves(64, 64, kSidebar.upper, kSidebar.lower), 144}});
}

void InstalledBundle::removePicture(const std::string& name) {
  std::filesystem::remove(contents + "Resources/" + name);
}

void InstalledBundle::setVersion(const std::string& version) {
  writeFile(contents + "Info.plist",
            "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\"><dict>"
            "<key>kFinderVersion</key><string>" +
                version + "</string></dict></plist>\n");
}

BadgedVolume::BadgedVolume() : path(folder.path()), database(path + "/Wevora-Account-1.db") {
  database.addTop();
  database.addFile("1", SyncDatabase::kTop, "green", SyncDatabase::kSynchronized);
  database.addFile("2", SyncDatabase::kTop, "blue");
  database.addFolder("3", SyncDatabase::kTop, "red");
  for (const char* name : {"green", "blue", "plain"}) writeFile(item(name), "x");
  std::filesystem::create_directory(item("red"));
}

BadgedHost::BadgedHost(PictureHost::Classes classes, bool withPictures)
    : host(classes), installed(withPictures), bundle(services()) {
  engine.provider->setTurnedOn(true);
}

BundleLoad::Services BadgedHost::services() {
  return {.principal = {.runtime = host.runtime(),
                        .mainQueue = engine.dispatch.mainQueue(),
                        .paths = installed.paths,
                        .setVersion =
                            [this](std::int32_t major, std::int32_t minor, std::int32_t patch) {
                              versions.push_back({major, minor, patch});
                            }},
          .provider = providerAccess(),
          .finderTools = [this]() -> WVFinderTools& { return engine.tools; },
          .loadFileTools = [this] { order.emplace_back("WVRFileTools"); },
          .loadAgentConnector = [this] { order.emplace_back("WVAgentConnector"); },
          .loadDateFormat = [this] { order.emplace_back("NSDate(DBFormat)"); }};
}

void BadgedHost::settle() {
  engine.provider->colorFor(ItemURL(item("green")));
  engine.dispatch.runAll();
}

}  // namespace wevora::testing_host
