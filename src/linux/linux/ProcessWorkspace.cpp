// SPDX-License-Identifier: GPL-3.0-or-later
#include <linux/ProcessWorkspace.h>

#include <base/Text.h>
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

/// A process that outlives the program which started it by so many scans is the program itself.
constexpr int scansOfAnHeir = 5;

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
    , m_opener(loop)
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
    return m_running;
}

std::vector<Application> ProcessWorkspace::installedApplications() const
{
    std::vector<Application> applications;
    for (const auto& [id, entry] : m_entries.all()) {
        const Application application = applicationWithID(id);
        // A program may have a desktop file for each of its tasks.
        if (entry.isShown && std::ranges::find(applications, application.bundleID, &Application::bundleID) ==
                                 applications.end())
            applications.push_back(application);
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
        if (applicationWithID(id).bundleID == bundleID)
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
    // A list that can't be had says nothing of who has ended.
    const auto ids = listedNow();
    if (!ids)
        return;
    const std::vector<pid_t> toLookInto = noteListed(*ids);

    // Where an exit can't be watched, the list tells of it, or that nothing is left to be read.
    std::vector<pid_t> gone;
    for (const auto& [id, member] : m_members) {
        if (!isListed(id) || (!member.endWatch && !readProcess(m_processes, id)))
            gone.push_back(id);
    }
    for (const pid_t id : gone)
        leave(id);

    if (!toLookInto.empty())
        m_entries.refresh();
    for (const pid_t id : toLookInto)
        look(id);
    followHelpers();
}

/// \return those that are to be looked into.
std::vector<pid_t> ProcessWorkspace::noteListed(const std::vector<pid_t>& ids)
{
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
    return toLookInto;
}

std::optional<std::vector<pid_t>> ProcessWorkspace::listedNow() const
{
    const int descriptor = m_processes >= 0 ? ::fcntl(m_processes, F_DUPFD_CLOEXEC, 0) : -1;
    DIR* folder = descriptor >= 0 ? ::fdopendir(descriptor) : nullptr;
    if (!folder) {
        if (descriptor >= 0)
            ::close(descriptor);
        return std::nullopt;
    }
    std::vector<pid_t> ids;
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

bool ProcessWorkspace::isListed(pid_t id) const
{
    return std::ranges::binary_search(m_listed, id, {}, &Listed::id);
}

bool ProcessWorkspace::isOfThisUser(pid_t id) const
{
    struct stat status = {};
    if (::fstatat(m_processes, fmt::format("{}", id).c_str(), &status, 0) != 0)
        return false;
    // A program with rights of its own is shown as the system's.
    return status.st_uid == ::geteuid() || readOwner(m_processes, id) == ::geteuid();
}

void ProcessWorkspace::look(pid_t id)
{
    if (!isOfThisUser(id))
        return;
    const auto process = readProcess(m_processes, id);
    const auto identity = process ? identityOf(*process) : std::nullopt;
    // What can't be told any more stays what it was: a script that has become what it starts. Not so what
    // was only seen before the one that had started it.
    if (!identity) {
        if (m_helpers.contains(id))
            leave(id);
        return;
    }
    const auto member = m_members.find(id);
    if (member == m_members.end()) {
        join(*process, *identity);
        return;
    }
    const std::string before = member->second.identity.application.bundleID;
    member->second.executable = process->executable;
    member->second.scopePath = process->scope ? process->scope->path : "";
    if (before == identity->application.bundleID) {
        member->second.identity = *identity;
        return;
    }
    leave(id);
    join(*process, *identity);
}

std::optional<ProcessWorkspace::Identity> ProcessWorkspace::identityOf(const ProcessInfo& process)
{
    if (isHelperCommand(process.arguments) || isGameStarter(process.arguments))
        return std::nullopt;
    const std::string program = programName(process.executable, process.arguments);
    const bool isLeader = leadsItsScope(process);
    const auto scoped =
        process.scope ? std::optional(applicationWithID(process.scope->applicationID)) : std::nullopt;
    const auto own = ownApplication(program);
    if (own && isHelper(process, program))
        return std::nullopt;
    // A workstation is one, wherever it was started. Of other programs the scope knows the name by which
    // they were launched; what is started in there besides, as in a terminal, stands for itself.
    if (own && (!scoped || !isLeader || workstationOfProgram(program)))
        return Identity{*own, program, true};
    if (scoped && isLeader && (own || !m_leaders.at(process.scope->path).hasLedToProgram))
        return Identity{*scoped, program, own.has_value()};
    return std::nullopt;
}

/// What the process's own executable tells of it.
std::optional<Application> ProcessWorkspace::ownApplication(const std::string& program) const
{
    if (program.empty())
        return std::nullopt;
    const DesktopEntry* entry = m_entries.ofProgram(program);
    if (const auto workstation = workstationOfProgram(program))
        return Application{*workstation, entry ? entry->name : program};
    if (isHelperName(lowerCase(program)))
        return std::nullopt;
    if (entry)
        return applicationWithID(entry->id);
    // A program for Windows has no other name; it may be added under this one.
    if (program.ends_with(".exe"))
        return Application{program, program};
    return std::nullopt;
}

/// A program that runs itself again has started a helper.
bool ProcessWorkspace::isHelper(const ProcessInfo& process, const std::string& program)
{
    const auto known = m_helpers.find(process.id);
    if (known != m_helpers.end() && known->second.executable == process.executable)
        return known->second.scansAlone < scansOfAnHeir;
    const auto ancestor = ancestorOfProgram(process, program);
    if (!ancestor)
        return false;
    m_helpers[process.id] = Helper{process.executable, *ancestor};
    return true;
}

/// One of the processes above that is of the same program and the same executable.
std::optional<pid_t> ProcessWorkspace::ancestorOfProgram(const ProcessInfo& process,
                                                         const std::string& program) const
{
    pid_t ancestor = process.parent;
    // Long enough for any real family; a ring of parents can't be.
    for (int generation = 0; generation < 64 && ancestor > 1; ++generation) {
        const auto member = m_members.find(ancestor);
        if (member != m_members.end() && member->second.executable == process.executable &&
            member->second.identity.program == program)
            return ancestor;
        const auto parent = readProcess(m_processes, ancestor);
        if (!parent)
            return std::nullopt;
        ancestor = parent->parent;
    }
    return std::nullopt;
}

/// A scanner ends with the program that has started it. One that goes on is what the program has made of
/// itself: after a restart that it was told to, or to run in the background.
void ProcessWorkspace::followHelpers()
{
    std::erase_if(m_helpers, [this](const auto& helper) { return !isListed(helper.first); });
    std::vector<pid_t> heirs;
    for (auto& [id, helper] : m_helpers) {
        if (m_members.contains(helper.ancestor))
            helper.scansAlone = 0;
        else if (++helper.scansAlone == scansOfAnHeir)
            heirs.push_back(id);
    }
    for (const pid_t id : heirs)
        look(id);
}

/// The first process of a scope leads it, from then on and alone: what is left in there when it has ended
/// are its helpers. A service may be started again under its name.
bool ProcessWorkspace::leadsItsScope(const ProcessInfo& process)
{
    if (!process.scope)
        return false;
    const std::string& path = process.scope->path;
    const auto leader = m_leaders.find(path);
    if (leader != m_leaders.end() && (isListed(leader->second.id) || !path.ends_with(".service")))
        return leader->second.id == process.id;
    const auto parent = readProcess(m_processes, process.parent);
    const bool isFirst = !parent || !parent->scope || parent->scope->path != path;
    if (!isFirst || isHelperName(lowerCase(programName(process.executable, process.arguments))))
        return false;
    if (m_leaders.size() >= rememberedLeaders)
        std::erase_if(m_leaders, [this](const auto& entry) { return !isListed(entry.second.id); });
    m_leaders.insert_or_assign(path, Leader{process.id});
    return true;
}

void ProcessWorkspace::join(const ProcessInfo& process, const Identity& identity)
{
    const std::string scopePath = process.scope ? process.scope->path : "";
    const bool isNew = !isRunning(identity.application.bundleID);
    Member& member = m_members[process.id];
    member.identity = identity;
    member.executable = process.executable;
    member.scopePath = scopePath;
    watchExit(process.id, member);
    // The program itself is there now: what has only led to it may do other things after its end.
    if (const auto leader = m_leaders.find(scopePath); identity.isOwn && leader != m_leaders.end()) {
        leader->second.hasLedToProgram = true;
        std::erase_if(m_members, [&](const auto& entry) {
            const Member& other = entry.second;
            return !other.identity.isOwn && other.scopePath == scopePath &&
                   other.identity.application.bundleID == identity.application.bundleID;
        });
    }
    if (!isNew)
        return;
    m_running.push_back(identity.application);
    m_launched(identity.application);
}

void ProcessWorkspace::leave(pid_t id)
{
    const auto member = m_members.find(id);
    if (member == m_members.end())
        return;
    const std::string bundleID = member->second.identity.application.bundleID;
    m_members.erase(member);
    // Its number may belong to another process before the next scan.
    const auto listed = std::ranges::lower_bound(m_listed, id, {}, &Listed::id);
    if (listed != m_listed.end() && listed->id == id)
        listed->looksLeft = looksIntoANewProcess;
    if (isRunning(bundleID))
        return;
    const auto running = std::ranges::find(m_running, bundleID, &Application::bundleID);
    const Application application = *running;
    m_running.erase(running);
    m_terminated(application);
}

bool ProcessWorkspace::isRunning(const std::string& bundleID) const
{
    return std::ranges::any_of(m_members, [&bundleID](const auto& member) {
        return member.second.identity.application.bundleID == bundleID;
    });
}

void ProcessWorkspace::watchExit(pid_t id, Member& member)
{
    // Where it fails the next list tells.
    if (m_hasRealProcesses)
        member.endWatch = ProcessEndWatch::of(id, m_loop, [this, id] { leave(id); });
}

Application ProcessWorkspace::applicationWithID(const std::string& id) const
{
    const DesktopEntry* entry = m_entries.withID(id);
    const std::string name = entry ? entry->name : id;
    if (const auto workstation = workstationWithID(id))
        return {*workstation, name};
    const auto workstation = entry ? workstationOfProgram(entry->program) : std::nullopt;
    return {workstation.value_or(id), name};
}

} // namespace velmor
