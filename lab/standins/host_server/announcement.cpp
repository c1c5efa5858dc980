#include "standins/host_server/announcement.h"

#include <json/writer.h>
#include <unistd.h>

#include <cstdio>

namespace Lab {

void Announce(const std::string& address, Json::Value more) {
  more["address"] = address;
  more["port"] = std::stoi(address.substr(address.rfind(':') + 1));
  more["pid"] = getpid();
  Json::StreamWriterBuilder builder;
  builder["indentation"] = "";
  std::printf("%s\n", Json::writeString(builder, more).c_str());
  std::fflush(stdout);
}

}  // namespace Lab
