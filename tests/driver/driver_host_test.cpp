#include <cstdlib>
#include <filesystem>
#include <gtest/gtest.h>
#include <memory>
#include <pipewire/impl.h>
#include <pipewire/pipewire.h>
#include <random>
#include <spa/utils/string.h>
#include <stdexcept>
#include <string>
#include <variant>
#include <vector>

#include "model/driver_payload.h"
#include "support/temporary_folder.h"

namespace brindlemux::test {
namespace {

using Devices = std::vector<VirtualDeviceConfig>;

/// A server without clients, in this process: what the module does with memory is seen by this program's sanitizers.
class Host {
 public:
  Host() {
    setenv("PIPEWIRE_MODULE_DIR", BRINDLEMUX_LIBRARY_DIR ":" BRINDLEMUX_STOCK_MODULE_DIR, 1);
    pw_init(nullptr, nullptr);
    loop_ = pw_main_loop_new(nullptr);
    context_ = pw_context_new(pw_main_loop_get_loop(loop_), pw_properties_new(PW_KEY_CONFIG_NAME, "null", nullptr), 0);
    pw_context_add_spa_lib(context_, "audio.convert.*", "audioconvert/libspa-audioconvert");
    pw_context_add_spa_lib(context_, "audio.adapt", "audioconvert/libspa-audioconvert");
    pw_context_add_spa_lib(context_, "support.*", "support/libspa-support");
    // The driver may ask for a connection: there is nobody to connect to.
    setenv("PIPEWIRE_REMOTE", "no-server", 1);
    load("libpipewire-module-protocol-native", "");
    load("libpipewire-module-spa-node-factory", "");
    load("libpipewire-module-adapter", "");
    pw_loop_enter(pw_main_loop_get_loop(loop_));
  }
  ~Host() {
    pw_loop_leave(pw_main_loop_get_loop(loop_));
    pw_context_destroy(context_);
    pw_main_loop_destroy(loop_);
    pw_deinit();
  }
  Host(const Host&) = delete;
  Host& operator=(const Host&) = delete;

  /// Null when the module refuses.
  pw_impl_module* load(const char* name, const std::string& arguments) {
    return pw_context_load_module(context_, name, arguments.c_str(), nullptr);
  }
  pw_impl_module* loadDriver(const std::filesystem::path& file) {
    return load("libpipewire-module-brindlemux-driver", "{ devices.file = \"" + file.string() + "\" }");
  }
  /// Does what the loop has to do by now.
  void iterate() {
    while (pw_loop_iterate(pw_main_loop_get_loop(loop_), 0) > 0) {
    }
  }
  pw_impl_metadata* property() {
    pw_impl_metadata* found = nullptr;
    forEachGlobal([&](pw_global* global) {
      if (!pw_global_is_type(global, PW_TYPE_INTERFACE_Metadata)) return;
      const char* const name = pw_properties_get(pw_global_get_properties(global), PW_KEY_METADATA_NAME);
      if (name == driverBundleID) found = static_cast<pw_impl_metadata*>(pw_global_get_object(global));
    });
    return found;
  }
  int nodes() {
    int count = 0;
    forEachGlobal([&](pw_global* global) { count += pw_global_is_type(global, PW_TYPE_INTERFACE_Node) ? 1 : 0; });
    return count;
  }

 private:
  template <typename Visit>
  void forEachGlobal(Visit&& visit) {
    const auto call = [](void* data, pw_global* global) {
      (*static_cast<std::remove_reference_t<Visit>*>(data))(global);
      return 0;
    };
    pw_context_for_each_global(context_, call, &visit);
  }

  pw_main_loop* loop_;
  pw_context* context_;
};

/// What the driver's property shows.
class Shown {
 public:
  explicit Shown(pw_impl_metadata& metadata) : metadata_(metadata) {
    static const pw_impl_metadata_events events = [] {
      pw_impl_metadata_events table = {};
      table.version = PW_VERSION_IMPL_METADATA_EVENTS;
      table.property = [](void* data, std::uint32_t, const char*, const char*, const char* value) {
        static_cast<Shown*>(data)->value_ = value;
        return 0;
      };
      return table;
    }();
    pw_impl_metadata_add_listener(&metadata_, &listener_, &events, this);
  }
  ~Shown() { spa_hook_remove(&listener_); }
  Shown(const Shown&) = delete;
  Shown& operator=(const Shown&) = delete;

  std::string write(const std::string& value) {
    pw_impl_metadata_set_property(&metadata_, 0, driverPropertyKey.data(), "Spa:String:JSON", value.c_str());
    return value_;
  }

 private:
  pw_impl_metadata& metadata_;
  spa_hook listener_ = {};
  std::string value_;
};

std::string randomPayload(std::mt19937& random) {
  Devices devices;
  for (unsigned count = random() % 4; count > 0; --count) {
    devices.push_back({"uid" + std::to_string(random() % 6), "Näme " + std::to_string(random() % 5),
                       static_cast<std::int64_t>(random() % 10)});
  }
  std::string payload = encodeDriverPayload(devices);
  // A third of them is damaged; of the others, some have no channels or one UID twice.
  switch (random() % 9) {
    case 0:
      payload.resize(random() % payload.size());
      break;
    case 1:
      payload[random() % payload.size()] = static_cast<char>(1 + random() % 255);
      break;
    case 2:
      payload.insert(random() % payload.size(), std::string(random() % 100'000, "[{\" \xFF"[random() % 5]));
      break;
    default:
      break;
  }
  return payload;
}

TEST(DriverHost, aThousandWritesValidAndNot) {
  const unsigned seed = std::random_device()();
  SCOPED_TRACE("seed " + std::to_string(seed));
  std::mt19937 random(seed);
  const TemporaryFolder folder;
  const auto file = folder.path() / "devices.json";
  Host host;
  std::string inForce = encodeDriverPayload({});
  // The module comes and goes between them, and begins with what it had when it went.
  for (int loading = 0; loading < 10; ++loading) {
    pw_impl_module* const driver = host.loadDriver(file);
    ASSERT_NE(driver, nullptr);
    {
      Shown shown(*host.property());
      EXPECT_EQ(shown.write("nothing"), inForce);
      for (int round = 0; round < 100; ++round) {
        const std::string payload = randomPayload(random);
        const auto decoded = decodeDriverPayload(payload);
        if (const auto* devices = std::get_if<Devices>(&decoded)) inForce = encodeDriverPayload(*devices);
        ASSERT_EQ(shown.write(payload), inForce) << payload;
        host.iterate();
      }
    }
    EXPECT_GE(host.nodes(), 1);
    pw_impl_module_destroy(driver);
    host.iterate();
    EXPECT_EQ(host.nodes(), 0);
    EXPECT_EQ(host.property(), nullptr);
  }
}

TEST(DriverHost, aSecondDriverIsRefused) {
  Host host;
  ASSERT_NE(host.loadDriver(""), nullptr);
  const int nodes = host.nodes();
  EXPECT_EQ(host.loadDriver(""), nullptr);
  EXPECT_EQ(host.nodes(), nodes);
}

TEST(DriverHost, aFileThatIsNoAbsolutePathIsRefused) {
  Host host;
  EXPECT_EQ(host.loadDriver("relative.json"), nullptr);
  EXPECT_EQ(host.nodes(), 0);
}

TEST(DriverHost, theContextMayEndBeforeTheModule) {
  Host host;
  pw_impl_module* const driver = host.loadDriver("");
  ASSERT_NE(driver, nullptr);
  Shown shown(*host.property());
  shown.write(encodeDriverPayload({{"a", "A", 2}, {"b", "B", 16}}));
  shown.write(encodeDriverPayload({{"a", "A", 4}}));
}

}  // namespace
}  // namespace brindlemux::test
