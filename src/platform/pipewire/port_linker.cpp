#include "platform/pipewire/port_linker.h"

#include <set>

namespace brindlemux {

struct PortLinker::Link {
  PortLinker* linker = nullptr;
  pw_proxy* proxy = nullptr;
  spa_hook listener{};
  bool isRefused = false;
  bool isRemoved = false;

  ~Link() {
    if (proxy == nullptr) return;
    spa_hook_remove(&listener);
    pw_proxy_destroy(proxy);
  }

  static void onRemoved(void* data) {
    auto* const self = static_cast<Link*>(data);
    self->isRemoved = true;
    self->linker->changed_();
  }

  static void onError(void* data, int /*sequence*/, int /*result*/, const char* /*message*/) {
    static_cast<Link*>(data)->isRefused = true;
  }
};

PortLinker::PortLinker(std::function<void()> changed) : changed_(std::move(changed)) {}

PortLinker::~PortLinker() = default;

void PortLinker::clear() { links_.clear(); }

void PortLinker::apply(pw_core* core, std::span<const LinkRequest> wanted) {
  static constexpr pw_proxy_events events = {
      .version = PW_VERSION_PROXY_EVENTS,
      .destroy = nullptr,
      .bound = nullptr,
      .removed = Link::onRemoved,
      .done = nullptr,
      .error = Link::onError,
  };
  std::set<Key> wantedKeys;
  for (const LinkRequest& request : wanted) wantedKeys.emplace(request.output->serial, request.input->serial);
  std::erase_if(links_, [&](const auto& entry) {
    return !wantedKeys.contains(entry.first) || (entry.second->isRemoved && !entry.second->isRefused);
  });

  std::map<std::int64_t, std::size_t> linksOfInput;
  for (const auto& [key, link] : links_) {
    if (!link->isRefused) ++linksOfInput[key.second];
  }
  for (const LinkRequest& request : wanted) {
    const Key key{request.output->serial, request.input->serial};
    std::size_t& linkCount = linksOfInput[request.input->serial];
    if (links_.contains(key) || linkCount >= mostLinksPerInput) continue;
    pw_properties* const properties = pw_properties_new(PW_KEY_OBJECT_LINGER, "false", PW_KEY_LINK_PASSIVE,
                                                        request.mode == LinkMode::passive ? "true" : "false", nullptr);
    pw_properties_setf(properties, PW_KEY_LINK_OUTPUT_NODE, "%u", request.output->nodeID);
    pw_properties_setf(properties, PW_KEY_LINK_OUTPUT_PORT, "%u", request.output->globalID);
    pw_properties_setf(properties, PW_KEY_LINK_INPUT_NODE, "%u", request.input->nodeID);
    pw_properties_setf(properties, PW_KEY_LINK_INPUT_PORT, "%u", request.input->globalID);
    auto link = std::make_unique<Link>();
    link->linker = this;
    link->proxy = static_cast<pw_proxy*>(
        pw_core_create_object(core, "link-factory", PW_TYPE_INTERFACE_Link, PW_VERSION_LINK, &properties->dict, 0));
    pw_properties_free(properties);
    if (link->proxy == nullptr) continue;
    pw_proxy_add_listener(link->proxy, &link->listener, &events, link.get());
    links_.emplace(key, std::move(link));
    ++linkCount;
  }
}

}  // namespace brindlemux
