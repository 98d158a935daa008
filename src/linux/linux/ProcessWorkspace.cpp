// SPDX-License-Identifier: GPL-3.0-or-later
#include <linux/ProcessWorkspace.h>

#include <linux/ProgramName.h>
#include <linux/WorkstationAliases.h>

#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <cstring>
#include <utility>

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace velmor {

namespace {

constexpr double scanIntervalSeconds = 1.0;

/// A new process is often still the shell or the launcher that it was forked from; what it runs in the end
/// shows by the next scans.
constexpr int looksIntoANewProcess = 3;

/// More leaders than this are not remembered beyond their end.
constexpr std::size_t rememberedLeaders = 256;

/// Games platforms have a small starter of the same name as a workstation.
bool isGameStarter(const std::vector<std::string>& arguments)
{
    return std::ranges::find(arguments, "SteamLaunch") != arguments.end();
}

} // namespace

ProcessWorkspace::ProcessWorkspace(DescriptorMainLoop& loop,
                                   const std::vector<std::filesystem::path>& dataFolders,
                                   const std::filesystem::path& processes)
    : m_loop(loop)
    , m_entries(dataFolders)
    , m_hasRealProcesses(processes == "/proc")
    , m_processes(::open(processes.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC))
{
    scan();
    m_scanTimer = m_loop.every(scanIntervalSeconds, [this] { scan(); });
}

ProcessWorkspace::~ProcessWorkspace()
{
    m_members.clear();
    if (m_processes >= 0)
        ::close(m_processes);
}

std::vector<Application> ProcessWorkspace::runningApplications() const
{
    std::vector<Application> applications;
    for (const Instance& instance : m_instances)
        applications.push_back(instance.application);
    return applications;
}

std::vector<Application> ProcessWorkspace::installedApplications() const
{
    std::vector<Application> applications;
    for (const auto& [id, entry] : m_entries.all()) {
        if (entry.isShown)
            applications.push_back(applicationWithID(id, entry.name));
    }
    std::ranges::sort(applications, {}, [](const Application& a) { return lowerCase(a.name); });
    return applications;
}

Subscription ProcessWorkspace::onLaunch(const std::function<void(const Application&)>& callback)
{
    return m_launched.connect(callback);
}

Subscription ProcessWorkspace::onTermination(const std::function<void(const Application&)>& callback)
{
    return m_terminated.connect(callback);
}

std::optional<std::filesystem::path> ProcessWorkspace::applicationLocation(const std::string& bundleID) const
{
    if (const DesktopEntry* entry = m_entries.withID(bundleID))
        return entry->file;
    for (const auto& [id, entry] : m_entries.all()) {
        if (applicationWithID(id, {}).bundleID == bundleID)
            return entry.file;
    }
    return std::nullopt;
}

std::optional<ApplicationIcon> ProcessWorkspace::icon(const std::filesystem::path& location) const
{
    for (const auto& [id, entry] : m_entries.all()) {
        if (entry.file == location && !entry.icon.empty())
            return ApplicationIcon{entry.icon};
    }
    return std::nullopt;
}

void ProcessWorkspace::scan()
{
    const std::vector<pid_t> ids = listedNow();
    std::vector<Listed> listed;
    listed.reserve(ids.size());
    std::vector<pid_t> toLookInto;
    auto before = m_listed.begin();
    for (const pid_t id : ids) {
        while (before != m_listed.end() && before->id < id)
            ++before;
        const bool isKnown = before != m_listed.end() && before->id == id;
        const int looksLeft = isKnown ? before->looksLeft : looksIntoANewProcess;
        if (looksLeft > 0)
            toLookInto.push_back(id);
        listed.push_back({id, std::max(looksLeft - 1, 0)});
    }
    m_listed = std::move(listed);

    // Where an exit can't be watched, the list tells of it.
    std::vector<pid_t> gone;
    for (const auto& [id, member] : m_members) {
        if (!std::ranges::binary_search(ids, id))
            gone.push_back(id);
    }
    for (const pid_t id : gone)
        leave(id);
    std::erase_if(m_helpers, [this](const auto& helper) { return !isListed(helper.first); });

    if (!toLookInto.empty())
        m_entries.refresh();
    for (const pid_t id : toLookInto)
        look(id);
}

std::vector<pid_t> ProcessWorkspace::listedNow() const
{
    std::vector<pid_t> ids;
    const int descriptor = m_processes >= 0 ? ::fcntl(m_processes, F_DUPFD_CLOEXEC, 0) : -1;
    DIR* folder = descriptor >= 0 ? ::fdopendir(descriptor) : nullptr;
    if (!folder) {
        if (descriptor >= 0)
            ::close(descriptor);
        return ids;
    }
    // The copy shares its place in the folder with the original.
    ::rewinddir(folder);
    while (const dirent* entry = ::readdir(folder)) {
        pid_t id = 0;
        const char* end = entry->d_name + std::strlen(entry->d_name);
        const auto parsed = std::from_chars(entry->d_name, end, id);
        if (parsed.ec == std::errc() && parsed.ptr == end)
            ids.push_back(id);
    }
    ::closedir(folder);
    std::ranges::sort(ids);
    return ids;
}

void ProcessWorkspace::look(pid_t id)
{
    struct stat status = {};
    const std::string name = fmt::format("{}", id);
    if (::fstatat(m_processes, name.c_str(), &status, 0) != 0 || status.st_uid != ::geteuid())
        return;
    const auto process = readProcess(m_processes, id);
    const auto identity = process ? identityOf(*process) : std::nullopt;
    const auto member = m_members.find(id);
    if (member != m_members.end()) {
        if (identity && identity->instanceKey == member->second.instanceKey)
            return;
        leave(id);
    }
    if (identity)
        join(*process, *identity);
}

std::optional<ProcessWorkspace::Identity> ProcessWorkspace::identityOf(const ProcessInfo& process)
{
    if (isHelperCommand(process.arguments) || isGameStarter(process.arguments))
        return std::nullopt;
    const bool isLeader = leadsItsScope(process);
    const auto scoped =
        process.scope ? std::optional(applicationWithID(process.scope->applicationID, {})) : std::nullopt;
    if (auto own = ownApplication(process)) {
        if (isHelperOfOwnProgram(process, own->bundleID))
            return std::nullopt;
        // A launcher's scope may have another name for the program than its desktop file has: the leader
        // is what was launched. What else is started in there, as from a terminal, stands for itself.
        if (scoped && (isLeader || scoped->bundleID == own->bundleID)) {
            const bool isWorkstation =
                workstationOfProgram(programName(process.executable, process.arguments)).has_value();
            return Identity{process.scope->path, isWorkstation ? *own : *scoped};
        }
        return Identity{fmt::format("{}", process.id), *own};
    }
    if (scoped && isLeader)
        return Identity{process.scope->path, *scoped};
    return std::nullopt;
}

/// What the process's own executable tells of it.
std::optional<Application> ProcessWorkspace::ownApplication(const ProcessInfo& process) const
{
    const std::string program = programName(process.executable, process.arguments);
    if (program.empty())
        return std::nullopt;
    const DesktopEntry* entry = m_entries.ofProgram(program);
    if (const auto workstation = workstationOfProgram(program))
        return Application{*workstation, entry ? entry->name : program};
    if (isHelperName(lowerCase(program)))
        return std::nullopt;
    if (entry)
        return applicationWithID(entry->id, entry->name);
    // A program for Windows has no other name; it may be added under this one.
    if (program.ends_with(".exe"))
        return Application{program, program};
    return std::nullopt;
}

/// A program that runs itself again has started a helper: it stays one when the program above has ended.
bool ProcessWorkspace::isHelperOfOwnProgram(const ProcessInfo& process, const std::string& bundleID)
{
    const auto known = m_helpers.find(process.id);
    if (known != m_helpers.end() && known->second == process.executable)
        return true;
    if (!hasAncestorOfProgram(process, bundleID))
        return false;
    m_helpers[process.id] = process.executable;
    return true;
}

/// Whether one of the processes above is of the same program and the same executable.
bool ProcessWorkspace::hasAncestorOfProgram(const ProcessInfo& process, const std::string& bundleID) const
{
    pid_t ancestor = process.parent;
    // Long enough for any real family; a ring of parents can't be.
    for (int generation = 0; generation < 64 && ancestor > 1; ++generation) {
        const auto member = m_members.find(ancestor);
        if (member != m_members.end() && member->second.executable == process.executable) {
            const auto instance = std::ranges::find(m_instances, member->second.instanceKey, &Instance::key);
            if (instance != m_instances.end() && instance->application.bundleID == bundleID)
                return true;
        }
        const auto parent = readProcess(m_processes, ancestor);
        if (!parent)
            return false;
        ancestor = parent->parent;
    }
    return false;
}

/// The first process of a scope leads it, from then on and alone: what is left in there when it has ended
/// are its helpers.
bool ProcessWorkspace::leadsItsScope(const ProcessInfo& process)
{
    if (!process.scope)
        return false;
    const auto leader = m_leaders.find(process.scope->path);
    if (leader != m_leaders.end())
        return leader->second == process.id;
    const auto parent = readProcess(m_processes, process.parent);
    const bool isFirst = !parent || !parent->scope || parent->scope->path != process.scope->path;
    if (!isFirst || isHelperName(lowerCase(programName(process.executable, process.arguments))))
        return false;
    if (m_leaders.size() >= rememberedLeaders)
        std::erase_if(m_leaders, [this](const auto& entry) { return !isListed(entry.second); });
    m_leaders.emplace(process.scope->path, process.id);
    return true;
}

bool ProcessWorkspace::isListed(pid_t id) const
{
    return std::ranges::binary_search(m_listed, id, {}, &Listed::id);
}

void ProcessWorkspace::join(const ProcessInfo& process, const Identity& identity)
{
    Member& member = m_members[process.id];
    member.instanceKey = identity.instanceKey;
    member.executable = process.executable;
    watchExit(process.id, member);
    if (std::ranges::find(m_instances, identity.instanceKey, &Instance::key) != m_instances.end())
        return;
    m_instances.push_back({identity.instanceKey, identity.application});
    m_launched(identity.application);
}

void ProcessWorkspace::leave(pid_t id)
{
    const auto member = m_members.find(id);
    if (member == m_members.end())
        return;
    const std::string key = member->second.instanceKey;
    m_members.erase(member);
    // Its number may belong to another process before the next scan.
    const auto listed = std::ranges::lower_bound(m_listed, id, {}, &Listed::id);
    if (listed != m_listed.end() && listed->id == id)
        listed->looksLeft = looksIntoANewProcess;
    const bool isStillRunning =
        std::ranges::any_of(m_members, [&key](const auto& other) { return other.second.instanceKey == key; });
    const auto instance = std::ranges::find(m_instances, key, &Instance::key);
    if (isStillRunning || instance == m_instances.end())
        return;
    const Application application = instance->application;
    m_instances.erase(instance);
    m_terminated(application);
}

void ProcessWorkspace::watchExit(pid_t id, Member& member)
{
    if (!m_hasRealProcesses)
        return;
    // Close-on-exec by itself. Where it fails the next list tells.
    const auto descriptor = static_cast<int>(::syscall(SYS_pidfd_open, id, 0U));
    if (descriptor < 0)
        return;
    member.descriptor = std::shared_ptr<void>(nullptr, [descriptor](void*) { ::close(descriptor); });
    member.exitWatch = m_loop.watch(descriptor, [this, id] { leave(id); });
}

Application ProcessWorkspace::applicationWithID(const std::string& id, const std::string& fallbackName) const
{
    const DesktopEntry* entry = m_entries.withID(id);
    const std::string name = entry ? entry->name : !fallbackName.empty() ? fallbackName : id;
    if (const auto workstation = workstationWithID(id))
        return {*workstation, name};
    const auto workstation = entry ? workstationOfProgram(entry->program) : std::nullopt;
    return {workstation.value_or(id), name};
}

} // namespace velmor
