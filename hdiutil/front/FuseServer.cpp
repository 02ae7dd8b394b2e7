#include "hdiutil/front/FuseServer.h"

#include "base/Descriptor.h"
#include "hdiutil/front/FuseNodes.h"
#include "hdiutil/front/MountControl.h"

#include <fcntl.h>
#include <sys/sysmacros.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <cstdlib>
#include <vector>

namespace hdi {
namespace {

FuseNodes& nodesOf(fuse_req_t request) {
    return *static_cast<FuseNodes*>(fuse_req_userdata(request));
}

void onInit(void*, fuse_conn_info* connection) {
    // All may run side by side: every answer comes from memory or from chunks that are decoded in parallel.
    constexpr unsigned kRequestsAtOnce = 64;
    connection->max_background = kRequestsAtOnce;
    connection->congestion_threshold = kRequestsAtOnce;
    const unsigned wanted = FUSE_CAP_ASYNC_READ | FUSE_CAP_PARALLEL_DIROPS | FUSE_CAP_READDIRPLUS |
                            FUSE_CAP_CACHE_SYMLINKS | FUSE_CAP_NO_OPEN_SUPPORT;
    connection->want |= connection->capable & wanted;
    // Contents are given from our own memory, so there is nothing to splice. Attributes always come with the names:
    // left to itself the kernel asks for them with a folder's first names only, and then for each file's once more.
    constexpr unsigned kUnwanted = FUSE_CAP_SPLICE_READ | FUSE_CAP_AUTO_INVAL_DATA | FUSE_CAP_READDIRPLUS_AUTO;
    connection->want &= ~kUnwanted;
}

void onLookUp(fuse_req_t request, fuse_ino_t parent, const char* name) {
    nodesOf(request).lookUp(request, parent, name);
}

void onForget(fuse_req_t request, fuse_ino_t, std::uint64_t) {
    fuse_reply_none(request);
}

void onForgetMany(fuse_req_t request, std::size_t, fuse_forget_data*) {
    fuse_reply_none(request);
}

void onGetAttributes(fuse_req_t request, fuse_ino_t inode, fuse_file_info*) {
    nodesOf(request).getAttributes(request, inode);
}

void onReadLink(fuse_req_t request, fuse_ino_t inode) {
    nodesOf(request).readLink(request, inode);
}

// ENOSYS means "every open succeeds and contents stay cached": the kernel then asks no more. The mount itself is
// read-only.
void onOpen(fuse_req_t request, fuse_ino_t, fuse_file_info*) {
    fuse_reply_err(request, ENOSYS);
}

void onRead(fuse_req_t request, fuse_ino_t inode, std::size_t size, off_t offset, fuse_file_info*) {
    nodesOf(request).read(request, inode, size, offset);
}

void onOpenFolder(fuse_req_t request, fuse_ino_t inode, fuse_file_info* info) {
    nodesOf(request).openFolder(request, inode, info);
}

void onReadFolder(fuse_req_t request, fuse_ino_t inode, std::size_t size, off_t offset, fuse_file_info* info) {
    nodesOf(request).readFolder(request, inode, size, offset, *info, false);
}

void onReadFolderPlus(fuse_req_t request, fuse_ino_t inode, std::size_t size, off_t offset, fuse_file_info* info) {
    nodesOf(request).readFolder(request, inode, size, offset, *info, true);
}

void onReleaseFolder(fuse_req_t request, fuse_ino_t, fuse_file_info* info) {
    FuseNodes::releaseFolder(request, *info);
}

void onStatFileSystem(fuse_req_t request, fuse_ino_t) {
    nodesOf(request).statFileSystem(request);
}

fuse_lowlevel_ops operations() {
    fuse_lowlevel_ops ops{};
    ops.init = onInit;
    ops.lookup = onLookUp;
    ops.forget = onForget;
    ops.forget_multi = onForgetMany;
    ops.getattr = onGetAttributes;
    ops.readlink = onReadLink;
    ops.open = onOpen;
    ops.read = onRead;
    ops.opendir = onOpenFolder;
    ops.readdir = onReadFolder;
    ops.readdirplus = onReadFolderPlus;
    ops.releasedir = onReleaseFolder;
    ops.statfs = onStatFileSystem;
    return ops;
}

// The tool has one message for one failure; the library's own lines would stand beside it.
void ignoreLibraryMessage(fuse_log_level, const char*, va_list) {}

bool hasHelper() {
    const char* path = std::getenv("PATH");
    std::string folders = path == nullptr ? "/usr/bin:/bin" : path;
    folders += ":";
    for (std::size_t begin = 0; begin < folders.size();) {
        const std::size_t end = folders.find(':', begin);
        if (access((folders.substr(begin, end - begin) + "/fusermount3").c_str(), X_OK) == 0) {
            return true;
        }
        begin = end + 1;
    }
    return false;
}

} // namespace

FuseServer::FuseServer(const Volume& volume)
    : nodes_(std::make_unique<FuseNodes>(
          volume, [this](fuse_ino_t inode, std::span<const std::byte> contents) { return store(inode, contents); })) {}

bool FuseServer::store(std::uint64_t inode, std::span<const std::byte> contents) const {
    fuse_bufvec buffers = FUSE_BUFVEC_INIT(contents.size());
    buffers.buf[0].mem = const_cast<std::byte*>(contents.data()); // NOLINT(cppcoreguidelines-pro-type-const-cast)
    return fuse_lowlevel_notify_store(session_, inode, 0, &buffers, FUSE_BUF_NO_SPLICE) == 0;
}

FuseServer::~FuseServer() {
    unmount();
    if (loop_.joinable()) {
        loop_.join();
    }
    if (session_ != nullptr) {
        fuse_session_unmount(session_); // frees what mounting allocated
        fuse_session_destroy(session_);
    }
}

bool FuseServer::mount(const std::string& folder, const std::string& device) {
    std::string options = "ro,nosuid,nodev,default_permissions,subtype=hdiutil,fsname=" + device;
    std::vector<std::string> words = {"hdiutil", "-o", options};
    std::vector<char*> pointers;
    pointers.reserve(words.size());
    for (std::string& word : words) {
        pointers.push_back(word.data());
    }
    fuse_args arguments = FUSE_ARGS_INIT(static_cast<int>(pointers.size()), pointers.data());
    static const fuse_lowlevel_ops kOperations = operations();
    fuse_set_log_func(ignoreLibraryMessage);
    session_ = fuse_session_new(&arguments, &kOperations, sizeof kOperations, nodes_.get());
    fuse_opt_free_args(&arguments);
    if (session_ != nullptr && fuse_session_mount(session_, folder.c_str()) == 0) {
        folder_ = folder;
    }
    return !folder_.empty();
}

void FuseServer::start(std::function<void()> ended) {
    loop_ = std::thread([session = session_, ended = std::move(ended)] {
        fuse_loop_config* config = fuse_loop_cfg_create();
        fuse_loop_cfg_set_clone_fd(config, 1);
        // More only means more buffers: each has the kernel's largest request and a decoder to itself.
        constexpr unsigned kThreadsPerCore = 2;
        fuse_loop_cfg_set_max_threads(config, kThreadsPerCore * std::max(2U, std::thread::hardware_concurrency()));
        // Where no further thread is to be had this one serves alone: whoever opens the mount waits until somebody
        // does.
        if (fuse_session_loop_mt(session, config) != 0) {
            fuse_session_loop(session);
        }
        fuse_loop_cfg_destroy(config);
        ended();
    });
}

void FuseServer::unmount() {
    if (!folder_.empty()) {
        unmountFuse(folder_, UnmountWay::kDetached);
        folder_.clear();
    }
}

void FuseServer::damaged() {
    nodes_->markDamaged();
    for (const fuse_ino_t inode : nodes_->knownInodes()) {
        fuse_lowlevel_notify_inval_inode(session_, inode, 0, 0);
    }
}

bool isFuseUsable() {
    const base::Descriptor device(::open("/dev/fuse", O_RDWR | O_CLOEXEC));
    struct stat facts {};
    const bool isDevice = device && fstat(device.get(), &facts) == 0 && S_ISCHR(facts.st_mode);
    return isDevice && (geteuid() == 0 || hasHelper());
}

void widenReadAhead(const std::string& folder) {
    struct stat facts {};
    if (geteuid() != 0 || stat(folder.c_str(), &facts) != 0) {
        return;
    }
    const std::string path = "/sys/class/bdi/" + std::to_string(major(facts.st_dev)) + ":" +
                             std::to_string(minor(facts.st_dev)) + "/read_ahead_kb";
    const base::Descriptor setting(::open(path.c_str(), O_WRONLY | O_CLOEXEC));
    constexpr std::string_view kKibibytes = "1024";
    if (setting) { // a container's /sys may be read-only; then the kernel's default stays
        (void)!::write(setting.get(), kKibibytes.data(), kKibibytes.size());
    }
}

} // namespace hdi
