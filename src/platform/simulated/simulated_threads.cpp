#include "platform/simulated/simulated_threads.h"

#include <algorithm>
#include <vector>

namespace brindlemux {
namespace {

/// Short enough that no device gets further ahead of the others than a ring's reader bears.
constexpr std::int64_t stepFrames = 128;

}  // namespace

class SimulatedThreads::Player {
 public:
  Player(SimulatedCycles& cycles, AudioObjectID object)
      : cycles_(cycles), object_(object), thread_([this] { run(); }) {}

  ~Player() {
    isEnding_ = true;
    wanted_.release();
    thread_.join();
  }
  Player(const Player&) = delete;
  Player& operator=(const Player&) = delete;

  void playUntil(std::int64_t end) {
    end_ = end;
    wanted_.release();
  }
  void wait() { done_.acquire(); }

 private:
  void run() {
    while (true) {
      wanted_.acquire();
      if (isEnding_) return;
      cycles_.runUntil(end_, object_, cycle_);
      done_.release();
    }
  }

  SimulatedCycles& cycles_;
  const AudioObjectID object_;
  SimulatedCycle cycle_;
  // Handed over by the semaphores.
  std::int64_t end_ = 0;
  bool isEnding_ = false;
  std::binary_semaphore wanted_{0};
  std::binary_semaphore done_{0};
  std::thread thread_;
};

SimulatedThreads::SimulatedThreads(SimulatedCycles& cycles, std::int64_t now, Model model)
    : cycles_(cycles), model_(model), conductor_([this, now] { conduct(now); }) {}

SimulatedThreads::~SimulatedThreads() {
  isEnding_ = true;
  conductor_.join();
}

void SimulatedThreads::conduct(std::int64_t now) {
  while (!isEnding_) {
    // Others want the lock and the processor too.
    std::this_thread::yield();
    if (model_ == Model::one) {
      cycles_.advance(stepFrames);
      continue;
    }
    const std::vector<AudioObjectID> running = cycles_.runningClocks();
    std::erase_if(players_, [&running](const auto& entry) {
      return std::find(running.begin(), running.end(), entry.first) == running.end();
    });
    now += stepFrames;
    for (const AudioObjectID object : running) {
      std::unique_ptr<Player>& player = players_[object];
      if (player == nullptr) player = std::make_unique<Player>(cycles_, object);
      player->playUntil(now);
    }
    for (const AudioObjectID object : running) players_.at(object)->wait();
    cycles_.arriveAt(now);
  }
}

}  // namespace brindlemux
