#include "app/DaemonBuilder.h"

#include "core/PropertyList.h"
#include "core/Settings.h"
#include "platform/ChildProcess.h"
#include "platform/HostFacts.h"
#include "platform/Network.h"
#include "status/SparkleUrlBuilder.h"

namespace tovi {

namespace {

std::filesystem::path permanentVariables(const Bundle& bundle) try {
  const auto file = bundle.resource("PermanentVariables", "plist");
  if (!file) {
    throw InstallationFault(
        "The resource PermanentVariables.plist is missing: install it again, or set "
        "TOVI_RESOURCES_DIR to the directory that holds it");
  }
  return *file;
} catch (const std::system_error& error) {
  throw InstallationFault(std::string("The resources cannot be read: ") + error.what());
}

/// What the deployment sets: the entries of Settings.plist, if there is one.
PropertyDictionary deploymentSettings(const Bundle& bundle) {
  const ToviLog logger(kCoreSubsystem, "DaemonBuilder");
  try {
    const auto file = bundle.resource("Settings", "plist");
    if (!file) return {};
    auto entries = readPropertyList(*file);
    for (const auto& fault : settingFaults(entries)) {
      logger.notice("DaemonBuilder()", "Settings.plist: ", fault);
    }
    return entries;
  } catch (const std::runtime_error& error) {
    logger.error("DaemonBuilder()", "Settings.plist is left out: ", error.what());
    return {};
  }
}

PropertyDictionary seededSettings(const Bundle& bundle) {
  PropertyDictionary settings = deploymentSettings(bundle);
  settings["status_message_version"] = {std::string("1.0.0.0")};
  settings["dns_message_version"] = {std::string("1.0.0.0")};
  return settings;
}

std::vector<std::string> localAddresses() {
  std::vector<std::string> addresses;
  for (const auto& entry : platform::interfaceAddresses()) addresses.push_back(entry.address);
  return addresses;
}

HostFactSources hostFactSources(const platform::HostChanges& changes) {
  return {.localizedName = platform::localizedHostName,
          .hostName = platform::hostName,
          .operatingSystemVersion = platform::operatingSystemVersion,
          .operatingSystemName = platform::operatingSystemName,
          .architecture = platform::machineArchitecture,
          .globallyUniqueText = platform::globallyUniqueText,
          .uptime = platform::uptimeSeconds,
          .loggedInUserName = platform::loggedInUserName,
          .localAddresses = localAddresses,
          .revision = [&changes] { return changes.revision(); },
          .directoryServicePath = platform::directoryServicePath()};
}

/// The names that are never reported: the collector's own.
ToviDNSMessageBuilder::Domains undesiredDomains(const Bundle& bundle) {
  const auto host = bundle.information("ToviCollectorHost");
  if (!host || host->empty()) return {};
  return {*host};
}

/// The store is read once at each try to open it: the service manager hears how long that may take
/// on a slow disk.
void announceOpening(const std::filesystem::path& directory) {
  constexpr std::chrono::seconds kLeast(90);
  constexpr std::uintmax_t kSlowBytesPerSecond = 20'000'000;
  std::uintmax_t bytes = 0;
  std::error_code ignored;
  for (std::filesystem::directory_iterator file(directory, ignored), end; file != end;
       file.increment(ignored)) {
    const auto size = file->file_size(ignored);
    if (!ignored) bytes += size;
  }
  platform::extendStart(kLeast + std::chrono::seconds(bytes / kSlowBytesPerSecond));
}

}  // namespace

DaemonBuilder::DaemonBuilder(platform::MainLoop& loop, const Bundle& bundle,
                             const std::filesystem::path& stateDirectory,
                             std::unique_ptr<CommitAcknowledgement> acknowledgement)
    : loop_(loop),
      bundle_(bundle),
      variables_(permanentVariables(bundle)),
      runRecord_(variables_, timeProvider_),
      permanentDataManager_(stateDirectory / "keychain", "ToviAgent"),
      propertyManager_(seededSettings(bundle)),
      executor_([](const auto& path, const auto& arguments) {
        return platform::runProgram(path, arguments);
      }),
      hardwareProvider_(executor_, platform::systemProfilerPath()),
      hostChanges_(loop),
      systemInfo_(hostFactSources(hostChanges_), executor_, hardwareProvider_,
                  setting<std::int64_t>(propertyManager_, "system_information_counter")),
      userBuilder_(systemInfo_),
      coreData_(stateDirectory / "store", executor_, false,
                {.beforeTry = [=] { announceOpening(stateDirectory / "store"); }}),
      crypto_(permanentDataManager_),
      deliveryHandler_(timeProvider_, propertyManager_),
      messagePersistence_(coreData_, timeProvider_, propertyManager_, variables_, deliveryHandler_,
                          crypto_, std::move(acknowledgement)),
      bundleProvider_(bundle.information("CFBundleShortVersionString")),
      messageFilter_(setting<std::int64_t>(propertyManager_, "removal_memory_size"), timeProvider_,
                     variables_, setting<bool>(propertyManager_, "removal_by_process")),
      messagePacker_(variables_, messagePersistence_, timeProvider_, propertyManager_,
                     messageFilter_),
      recentActivity_(timeProvider_),
      processFinder_(bundle.information("ToviProcessLookup")),
      packetReceiver_([this](const auto& query) { return processFinder_.find(query); },
                      &recentActivity_),
      interfacesChecker_(
          bundle.identifier(),
          [this](const auto& addresses) { return packetReceiver_.isUpToDate(addresses); },
          [this] { packetReceiver_.updateInterfaces(); }),
      daemon_(permanentDataManager_, messagePersistence_, packetReceiver_),
      statusBuilder_(bundleProvider_, timeProvider_, variables_, daemon_, propertyManager_,
                     systemInfo_),
      statusKeeper_(propertyManager_, timeProvider_, variables_, messagePacker_, statusBuilder_,
                    daemon_, messageFilter_),
      dnsMsgContainer_(setting<std::int64_t>(propertyManager_, "message_container_size")),
      messageBuilder_({.packer = messagePacker_,
                       .timeProvider = timeProvider_,
                       .systemProvider = systemInfo_,
                       .bundleProvider = bundleProvider_,
                       .variable = variables_,
                       .container = dnsMsgContainer_,
                       .userInfo = userBuilder_},
                      undesiredDomains(bundle)),
      timeoutTimer_(setting<double>(propertyManager_, "check_packer_messages_timeout_sec")),
      statistics_({.capture = packetReceiver_,
                   .finder = processFinder_,
                   .container = dnsMsgContainer_,
                   .builder = messageBuilder_,
                   .packer = messagePacker_,
                   .persistence = messagePersistence_,
                   .crypto = crypto_,
                   .activity = recentActivity_}) {
  publishFeedUrl();
  // Capture may run since the agent controller was built. Nothing can fail from here on, so the
  // message builder stays until the destructor has stopped it.
  packetReceiver_.setMessageBuilder(&messageBuilder_);
}

void DaemonBuilder::publishFeedUrl() {
  const SparkleUrlBuilder feed(hardwareProvider_, bundleProvider_, bundle_.information("SUFeedURL"),
                               bundle_.information("ToviUpdateHost").value_or("localhost"),
                               propertyManager_);
  propertyManager_.merge({{"SUFeedURL", {feed.sparkleUrl()}}});
}

void DaemonBuilder::start() {
  if (!interfacesObserver_.joinable()) {
    interfacesObserver_ = std::thread([this] { interfacesChecker_.startObserving(); });
  }
  agentXPC_.reset();
  agentXPC_ = std::make_unique<ToviAgentXPC>(
      loop_, daemon_, statusKeeper_,
      bundle_.information("MachServiceName").value_or("io.tovi.ToviAgentXPC"), propertyManager_,
      statistics_);
  if (!timerTick_) timerTick_ = loop_.repeat(timeoutTimer_, [this] { timerEvent(); });
  // A call on the bus or an answer of the collector may have changed the state.
  loop_.afterEvents([this] { reportState(); });
  reportState();
}

void DaemonBuilder::reportState() {
  std::string state = "The agent is " + std::string(rawValue(daemon_.agentState()));
  if (const auto fault = crypto_.keyFault()) state += "; the payload key cannot be read: " + *fault;
  if (const auto& fault = coreData_.standInFault()) {
    state += "; batches are kept in memory until the next start, without a store: " + *fault;
  }
  if (reportedState_ == state) return;
  reportedState_ = state;
  platform::notifyStatus(state);
}

void DaemonBuilder::timerEvent() {
  messagePacker_.closeBatchIfDue();
}

DaemonBuilder::~DaemonBuilder() {
  agentXPC_.reset();
  timerTick_.reset();
  interfacesChecker_.stopObserving();
  if (interfacesObserver_.joinable()) interfacesObserver_.join();
  packetReceiver_.stopReader();
  packetReceiver_.setMessageBuilder(nullptr);
  if (endsOrderly_) runRecord_.finish();
}

}  // namespace tovi
