// SPDX-License-Identifier: Apache-2.0
#include "NginxServer.h"

#include <arpa/inet.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <fstream>
#include <stdexcept>

int ListenOnLoopback(int* port) {
    const int listener = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof(address);
    auto* const generic = reinterpret_cast<sockaddr*>(&address);
    if (bind(listener, generic, size) != 0 || listen(listener, 16) != 0) throw std::runtime_error("no port");
    getsockname(listener, generic, &size);
    *port = ntohs(address.sin_port);
    return listener;
}

NginxServer::NginxServer(const std::string& settings) {
    std::string folder = (std::filesystem::temp_directory_path() / "orvel-nginx-XXXXXX").string();
    if (mkdtemp(folder.data()) == nullptr) throw std::runtime_error("no temporary folder");
    folder_ = folder;
    std::filesystem::create_directory(folder_ / "docs");
    // A port that was free may be taken by the time nginx binds it.
    for (int attempt = 0; attempt < 5; ++attempt) {
        if (start(settings)) return;
    }
    throw std::runtime_error("nginx (Debian package nginx-light) did not start, see " + folder);
}

bool NginxServer::start(const std::string& settings) {
    int port = 0;
    close(ListenOnLoopback(&port));
    address_ = "http://127.0.0.1:" + std::to_string(port);
    std::ofstream conf(folder_ / "nginx.conf");
    conf << "daemon off; master_process off; pid nginx.pid; events {} http { access_log off;\n";
    for (const char* kind : {"client_body", "proxy", "fastcgi", "uwsgi", "scgi"}) {
        conf << kind << "_temp_path " << kind << ";\n";
    }
    conf << "server { listen 127.0.0.1:" << port << "; root docs;\n" << settings << "}}\n";
    conf.close();
    pid_ = fork();
    if (pid_ == 0) {
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        setenv("PATH", "/usr/sbin:/usr/local/sbin:/usr/bin", 1);
        execlp("nginx", "nginx", "-p", folder_.c_str(), "-c", "nginx.conf", "-e", "error.log", nullptr);
        _exit(127);
    }
    // The file appears once the socket listens.
    while (!std::filesystem::exists(folder_ / "nginx.pid")) {
        if (waitpid(pid_, nullptr, WNOHANG) != 0) return false;
        usleep(5000);
    }
    return true;
}

NginxServer::~NginxServer() {
    kill();
    std::filesystem::remove_all(folder_);
}

void NginxServer::put(const std::string& name, const std::string& content) const {
    std::ofstream(folder_ / "draft", std::ios::binary) << content;
    std::filesystem::rename(folder_ / "draft", folder_ / "docs" / name);
}

void NginxServer::kill() {
    if (pid_ <= 0) return;
    ::kill(pid_, SIGKILL);
    waitpid(pid_, nullptr, 0);
    pid_ = -1;
}
