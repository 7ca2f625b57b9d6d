#include "process/process_manager.h"

#include <kxcore7/file.h>
#include <kxcore7/process.h>
#include <kxcore7/result.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "component/client_data.h"
#include "frame/exception.h"
#include "frame/global_data.h"
#include "locks/scoped_lock.h"
#include "platform/characters.h"

using namespace kx;
using core::ScopedLock;
using platform::FileHandle;
using platform::ProcessHandle;

namespace {

// The pipes of one child. Its ends are closed with the scope; the parent's are, too, unless the
// child has come to be.
class CKXChildPipes final {
  public:
    CKXChildPipes() = default;
    ~CKXChildPipes() {
        CloseAll(m_childEnds);
        if (m_closeParentEnds) CloseAll(m_parentEnds);
    }
    CKXChildPipes(const CKXChildPipes&) = delete;
    CKXChildPipes& operator=(const CKXChildPipes&) = delete;

    // Makes the pipes that are asked for, and puts the parent's ends in their places.
    void Make(KXProcessStdHandles handles) {
        for (std::size_t slot = 0; slot < std::size(m_childHandles); ++slot) {
            if (handles[slot] == KX_INVALID_HANDLE)
                handles[slot] = MakePipe(slot);
            else
                m_childHandles[slot] = handles[slot];
        }
    }
    const FileHandle* ChildHandles() const { return m_childHandles; }
    void KeepParentEnds() { m_closeParentEnds = false; }

  private:
    FileHandle MakePipe(std::size_t slot) {
        m_parentEnds.push_back(KX_INVALID_HANDLE);
        m_childEnds.push_back(KX_INVALID_HANDLE);
        const auto end = slot == 0 ? platform::ChildEnd::reads : platform::ChildEnd::writes;
        core::ThrowIfNativeError(
            platform::CreateChildPipe(end, &m_childEnds.back(), &m_parentEnds.back()));
        m_childHandles[slot] = m_childEnds.back();
        return m_parentEnds.back();
    }
    static void CloseAll(const std::vector<FileHandle>& ends) {
        for (const FileHandle end : ends) {
            if (end != KX_INVALID_HANDLE) KXFileClose(end);
        }
    }

    std::vector<FileHandle> m_parentEnds;
    std::vector<FileHandle> m_childEnds;
    KXProcessStdHandles m_childHandles{};
    bool m_closeParentEnds = true;
};

// The environment of a child, as one text: what is null there inherits.
class CKXEnvironmentBlock final {
  public:
    explicit CKXEnvironmentBlock(const char16_t* const* environment) {
        if (environment == nullptr) return;
        std::vector<const char16_t*> texts;
        for (; *environment != nullptr; ++environment) texts.push_back(*environment);
        // The system wants them in this order. A sort that no order can lead astray: the locale's
        // is not ours to trust.
        std::stable_sort(texts.begin(), texts.end(), [](const char16_t* a, const char16_t* b) {
            return platform::CollateFolded(a, b) < 0;
        });
        for (const char16_t* text : texts) m_block.append(text).push_back(u'\0');
        m_given = true;
    }

    // The text's own terminator is the one that ends the block.
    const char16_t* Get() const { return m_given ? m_block.c_str() : nullptr; }

  private:
    std::u16string m_block;
    bool m_given = false;
};

// Only a suffix in lower case is one, and a path of three characters stays as it is: so programs
// have been named from the beginning, and callers rely on it.
std::u16string WithSuffix(std::u16string_view program) {
    constexpr std::u16string_view kSuffix = u".exe";
    std::u16string path(program);
    if (!program.ends_with(kSuffix) && program.size() != kSuffix.size() - 1) path += kSuffix;
    return path;
}

// Nothing is quoted: quotes are the caller's, in what he gives as arguments.
std::u16string CommandLine(const std::u16string& program, const char16_t* arguments) {
    return arguments != nullptr ? program + u' ' + arguments : program;
}

// Starts a child with the pipes that are asked for. Its ends are closed by the end of it.
ProcessHandle Start(platform::ProcessRequest request, KXProcessStdHandles handles) {
    const platform::StartScope scope;
    CKXChildPipes pipes;
    if (handles != nullptr) {
        pipes.Make(handles);
        request.standardHandles = pipes.ChildHandles();
    }
    ProcessHandle process = platform::kNoProcess;
    core::ThrowIfNativeError(platform::StartProcess(request, &process));
    pipes.KeepParentEnds();
    return process;
}

CKXProcessManager& Manager() {
    return core::Existing(core::g_data.clientData).Processes();
}

template <typename Call>
KXResult WithManager(Call&& call) {
    return core::Guarded([&] {
        call(Manager());
        return KX_S_OK;
    });
}

void StoreIfWanted(std::uint32_t* out, std::uint32_t value) {
    if (out != nullptr) *out = value;
}

}  // namespace

CKXProcessManager::CKXProcessManager() {
    core::ThrowIfFailed(KXMutexCreate("CKXProcessManager::m_setMutex", 0, m_setMutex.Out()));
}

CKXProcessManager::Place CKXProcessManager::MakePlace() {
    std::set<ProcessHandle> room{platform::kNoProcess};
    return room.extract(room.begin());
}

void CKXProcessManager::Add(Place place) {
    const ScopedLock lock(m_setMutex.Get());
    m_set.insert(std::move(place));
}

// In one: a number that is free is the next child's.
void CKXProcessManager::Detach(ProcessHandle process) {
    const ScopedLock lock(m_setMutex.Get());
    core::ThrowIfNativeError(platform::CloseProcess(process));
    m_set.erase(process);
}

// A process that ended with the code that means "still running" can't be told from one that is.
std::uint32_t CKXProcessManager::GetExitCode(ProcessHandle process) {
    std::uint32_t exitCode = 0;
    core::ThrowIfNativeError(platform::QueryProcessExitCode(process, &exitCode));
    if (exitCode == platform::kStillActive) throw EKXCoreException{KX_E_FAIL};
    Detach(process);
    return exitCode;
}

std::uint32_t CKXProcessManager::Join(ProcessHandle process) {
    core::ThrowIfNativeError(platform::WaitForProcess(process));
    return GetExitCode(process);
}

std::uint32_t CKXProcessManager::JoinChild(ProcessHandle* out) {
    const ScopedLock lock(m_setMutex.Get());
    const std::size_t count = CollectChildren();
    std::size_t which = 0;
    core::ThrowIfNativeError(platform::WaitForAnyProcess({m_waitHandles.get(), count}, &which));
    *out = m_waitHandles[which];
    return GetExitCode(*out);
}

std::size_t CKXProcessManager::CollectChildren() {
    const std::size_t count = m_set.size();
    if (m_waitCapacity < count) {
        m_waitHandles.reset();
        m_waitCapacity = 0;
        m_waitHandles = std::make_unique<ProcessHandle[]>(2 * count);
        m_waitCapacity = static_cast<std::uint32_t>(2 * count);
    }
    std::copy(m_set.begin(), m_set.end(), m_waitHandles.get());
    return count;
}

KXResult KXProcessCreate(const char16_t* program, const char16_t* arguments,
                         const char16_t* directory, const char16_t* const* environment,
                         uint32_t /*reserved*/, KXProcessStdHandles handles, KXProcessHandle* out) {
    *out = KX_INVALID_HANDLE;
    return WithManager([&](CKXProcessManager& manager) {
        const std::u16string path = WithSuffix(program);
        const std::u16string commandLine = CommandLine(path, arguments);
        const CKXEnvironmentBlock block(environment);
        CKXProcessManager::Place place = CKXProcessManager::MakePlace();
        const ProcessHandle process =
            Start({path.c_str(), commandLine.c_str(), directory, block.Get(), nullptr}, handles);
        place.value() = process;
        manager.Add(std::move(place));
        *out = process;
    });
}

KXResult KXProcessDetach(KXProcessHandle process) {
    return WithManager([&](CKXProcessManager& manager) { manager.Detach(process); });
}

KXResult KXProcessGetExitCode(KXProcessHandle process, uint32_t* exitCode) {
    return WithManager(
        [&](CKXProcessManager& manager) { *exitCode = manager.GetExitCode(process); });
}

KXResult KXProcessJoin(KXProcessHandle process, uint32_t* exitCode) {
    return WithManager(
        [&](CKXProcessManager& manager) { StoreIfWanted(exitCode, manager.Join(process)); });
}

KXResult KXProcessJoinChild(KXProcessHandle* out, uint32_t* exitCode) {
    return WithManager(
        [&](CKXProcessManager& manager) { StoreIfWanted(exitCode, manager.JoinChild(out)); });
}

uint32_t KXProcessGetID() {
    return platform::CurrentProcessId();
}

KXBool16 KXProcessGetName(uint32_t id, char* name, uint32_t size) {
    char image[platform::kMaxImageName];
    if (!platform::QueryImageName(id, image)) return 0;
    std::strncpy(name, image, size);
    name[size - 1] = '\0';
    return 1;
}
