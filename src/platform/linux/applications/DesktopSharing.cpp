#include "platform/linux/applications/DesktopSharing.h"

#include <algorithm>
#include <array>
#include <utility>

#include "platform/foundation/loop/Log.h"
#include "platform/linux/loop/GLibHandles.h"

namespace vellumix::linux_desktop {

namespace {

constexpr Log sharingLog("Sharing");

using Service = SharingServices::Service;

bool isFile(const SharedItem& item) {
    const auto* url = std::get_if<URL>(&item);
    return url && url->isFile();
}

bool offers(const SharedItem& item, Service service) {
    if (isFile(item)) return true;
    if (std::holds_alternative<URL>(item)) return service == Service::open || service == Service::sendByMail;
    if (std::holds_alternative<String>(item))
        return service == Service::sendByMail || service == Service::saveCopy;
    return service == Service::saveCopy;
}

std::string userFolder() {
    const char* downloads = g_get_user_special_dir(G_USER_DIRECTORY_DOWNLOAD);
    return downloads ? downloads : g_get_home_dir();
}

/// Our own settings, whatever they hold, are nobody else's business.
bool isOwnVariable(std::string_view name) { return name.starts_with("VELLUMIX"); }

glib::TextList environmentForOthers() {
    glib::TextList names(g_listenv());
    glib::TextList variables(g_get_environ());
    for (char** name = names.get(); *name; ++name) {
        if (isOwnVariable(*name)) variables.reset(g_environ_unsetenv(variables.release(), *name));
    }
    return variables;
}

/// Returns at once; a failure is told to the log alone.
bool launch(GAppInfo* program, const std::string& address) {
    if (!program) {
        sharingLog.error("The desktop has no program for this");
        return false;
    }
    const glib::Object<GAppLaunchContext> context(g_app_launch_context_new());
    const glib::TextList names(g_listenv());
    for (char** name = names.get(); *name; ++name) {
        if (isOwnVariable(*name)) g_app_launch_context_unsetenv(context.get(), *name);
    }
    GList addresses{.data = const_cast<char*>(address.c_str()), .next = nullptr, .prev = nullptr};
    g_app_info_launch_uris_async(
        program, &addresses, context.get(), nullptr,
        [](GObject* source, GAsyncResult* result, gpointer) {
            if (!g_app_info_launch_uris_finish(G_APP_INFO(source), result, nullptr))
                sharingLog.error("A program could not be started");
        },
        nullptr);
    return true;
}

bool openFile(const URL& file) {
    // By its name: no program's file is read to find out.
    const glib::Text type(g_file_test(file.path().c_str(), G_FILE_TEST_IS_DIR)
                              ? g_strdup("inode/directory")
                              : g_content_type_guess(file.path().c_str(), nullptr, 0, nullptr));
    const glib::Object<GAppInfo> program(g_app_info_get_default_for_type(type.get(), FALSE));
    return launch(program.get(), std::string(file.absoluteString()));
}

bool openAddress(const std::string& address, const std::string& scheme) {
    const glib::Object<GAppInfo> program(g_app_info_get_default_for_uri_scheme(scheme.c_str()));
    return launch(program.get(), address);
}

/// False without the program. It becomes a child of the system's first process.
bool runXdgEmail(const std::vector<std::string>& files) {
    const glib::Text program(g_find_program_in_path("xdg-email"));
    if (!program) return false;
    std::vector<std::string> words{program.get()};
    for (const auto& file : files) words.insert(words.end(), {"--attach", file});
    std::vector<char*> arguments;
    arguments.reserve(words.size() + 1);
    for (auto& word : words) arguments.push_back(word.data());
    arguments.push_back(nullptr);
    const auto environment = environmentForOthers();
    return g_spawn_async(nullptr, arguments.data(), environment.get(), G_SPAWN_DEFAULT, nullptr, nullptr,
                         nullptr, nullptr);
}

std::string localTime(Date date) {
    const glib::DateTime moment(g_date_time_new_from_unix_local(static_cast<gint64>(date.unixSeconds())));
    if (!moment) return date.iso8601(true);
    const glib::Text text(g_date_time_format(moment.get(), "%Y-%m-%d at %H.%M.%S"));
    return text.get();
}

/// Opens a file that wasn't there: under its name, or with a number before its ending. Empty on failure.
std::string openUnusedPath(FileSystem& files, const std::string& path, FileSystem::Handle& handle) {
    constexpr int mostNumbers = 10'000;
    const auto slash = path.rfind('/') + 1;
    auto dot = path.rfind('.');
    // The dot that begins a hidden file's name begins no ending.
    if (dot == std::string::npos || dot <= slash) dot = path.size();
    for (int number = 1; number < mostNumbers; ++number) {
        auto unused = path;
        if (number > 1) unused.insert(dot, ' ' + std::to_string(number));
        const auto error = files.openNew(unused, handle);
        if (!error) return unused;
        if (error != std::errc::file_exists) break;
    }
    return {};
}

/// Writes pieces until there is an empty one, which is the end, or none, which is a failure.
template <class NextPiece>
void writeCopy(FileSystem& files, const std::string& path, NextPiece nextPiece) {
    FileSystem::Handle handle{};
    const auto unused = openUnusedPath(files, path, handle);
    if (unused.empty()) return sharingLog.error("A copy could not be made");
    bool isWhole = false;
    while (const std::optional<ByteView> piece = nextPiece()) {
        isWhole = piece->empty();
        if (isWhole || files.write(handle, *piece)) break;
    }
    if (isWhole && files.sync(handle)) isWhole = false;
    if (files.close(handle)) isWhole = false;
    if (isWhole) return;
    files.remove(unused);
    sharingLog.error("A copy could not be written");
}

void writeBytes(FileSystem& files, const std::string& path, ByteView bytes) {
    writeCopy(files, path, [&bytes]() -> std::optional<ByteView> { return std::exchange(bytes, {}); });
}

void copyFile(FileSystem& files, const std::string& from, const std::string& to) {
    // Anything but a file could keep its reader waiting for ever.
    if (!g_file_test(from.c_str(), G_FILE_TEST_IS_REGULAR))
        return sharingLog.error("Only files can be copied");
    const glib::Object<GFile> file(g_file_new_for_path(from.c_str()));
    const glib::Object<GFileInputStream> stream(g_file_read(file.get(), nullptr, nullptr));
    if (!stream) return sharingLog.error("A file could not be read");
    Bytes piece(std::size_t{256} * 1024);
    writeCopy(files, to, [&]() -> std::optional<ByteView> {
        const auto count =
            g_input_stream_read(G_INPUT_STREAM(stream.get()), piece.data(), piece.size(), nullptr, nullptr);
        if (count < 0) return std::nullopt;
        return ByteView(piece).first(static_cast<std::size_t>(count));
    });
}

}  // namespace

std::string mailAddress(std::string_view body) {
    if (body.size() > mailBodyLimit) {
        body = body.substr(0, mailBodyLimit);
        // Not within a character (RFC 3629 section 3).
        while (!body.empty() && (static_cast<unsigned char>(body.back()) & 0xC0) == 0x80)
            body.remove_suffix(1);
        if (!body.empty()) body.remove_suffix(1);
    }
    const auto isUnreserved = [](unsigned char c) {
        return g_ascii_isalnum(static_cast<gchar>(c)) || c == '-' || c == '.' || c == '_' || c == '~';
    };
    return "mailto:?body=" + percentEncoded(body, isUnreserved);
}

DesktopSharing::DesktopSharing(RunLoop& runLoop, FileSystem& files, NSPasteboard& pasteboard,
                               std::optional<std::string> folder)
    : runLoop(runLoop),
      files(files),
      pasteboard(pasteboard),
      folder(folder ? std::move(*folder) : userFolder()) {}

std::vector<Service> DesktopSharing::servicesFor(const std::vector<SharedItem>& items) const {
    std::vector<Service> services;
    if (items.empty()) return services;
    for (const auto service : {Service::open, Service::sendByMail, Service::saveCopy, Service::copyPath}) {
        if (std::ranges::all_of(items, [&](const auto& item) { return offers(item, service); }))
            services.push_back(service);
    }
    return services;
}

void DesktopSharing::perform(Service service, const std::vector<SharedItem>& items) {
    switch (service) {
        case Service::open:
            for (const auto& item : items) {
                if (const auto* url = std::get_if<URL>(&item)) openURL(*url);
            }
            break;
        case Service::sendByMail:
            return sendByMail(items);
        case Service::saveCopy:
            return saveCopies(items);
        case Service::copyPath:
            return copyPaths(items);
    }
}

bool DesktopSharing::openURL(const URL& url) {
    return url.isFile() ? openFile(url)
                        : openAddress(std::string(url.absoluteString()), std::string(url.scheme()));
}

void DesktopSharing::sendByMail(const std::vector<SharedItem>& items) {
    std::vector<std::string> files;
    std::string body;
    for (const auto& item : items) {
        const auto* text = std::get_if<String>(&item);
        const auto* url = std::get_if<URL>(&item);
        if (!text && !url) continue;
        if (isFile(item)) files.push_back(url->path());
        if (!body.empty()) body += '\n';
        body += text ? text->string() : isFile(item) ? url->path() : std::string(url->absoluteString());
    }
    if (!files.empty() && files.size() == items.size() && runXdgEmail(files)) return;
    // RFC 6068 section 5: lines end with both.
    std::string lines;
    for (const char c : body) c == '\n' ? lines += "\r\n" : lines += c;
    openAddress(mailAddress(lines), "mailto");
}

void DesktopSharing::saveCopies(const std::vector<SharedItem>& items) {
    const auto stem = this->folder + "/Clipboard " + localTime(runLoop.now());
    // The log and the files outlive the work: the loop ends after what runs on its threads.
    runLoop.background([&files = files, folder = this->folder, stem, items] {
        if (files.makeFolder(folder)) return sharingLog.error("The folder for copies can't be written to");
        for (const auto& item : items) {
            if (const auto* text = std::get_if<String>(&item))
                writeBytes(files, stem + ".txt", viewOf(text->view()));
            else if (const auto* image = std::get_if<Data>(&item))
                writeBytes(files, stem + ".png", *image);
            else if (isFile(item))
                copyFile(files, std::get<URL>(item).path(),
                         folder + '/' + std::get<URL>(item).lastPathComponent());
        }
        files.syncFolder(folder);
    });
}

void DesktopSharing::copyPaths(const std::vector<SharedItem>& items) {
    std::string paths;
    for (const auto& item : items) {
        if (!isFile(item)) continue;
        if (!paths.empty()) paths += '\n';
        paths += std::get<URL>(item).path();
    }
    if (paths.empty()) return;
    pasteboard.clearContents();
    pasteboard.setString(paths, NSPasteboardTypeString);
}

}  // namespace vellumix::linux_desktop
