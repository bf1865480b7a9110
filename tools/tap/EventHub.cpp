#include "tap/EventHub.h"

#include <algorithm>

namespace tap {

EventHub::EventHub(std::size_t maxClients, std::size_t maxKeys) : mMaxClients(maxClients), mMaxKeys(maxKeys) {}

void EventHub::Publish(const std::string& key, std::string text) {
  Text event = std::make_shared<const std::string>(std::move(text));
  {
    std::lock_guard<std::mutex> lock(mMutex);
    if (mNewest.count(key) == 0 && mNewest.size() >= mMaxKeys) return;
    mNewest[key] = event;
    for (auto& [id, queue] : mClients) {
      const auto old = std::find_if(queue.begin(), queue.end(), [&](const auto& e) { return e.first == key; });
      if (old != queue.end()) {
        queue.erase(old);
        ++mSkipped;
      }
      queue.emplace_back(key, event);
    }
  }
  mReady.notify_all();
}

long EventHub::Join() {
  std::lock_guard<std::mutex> lock(mMutex);
  if (mClosed || mClients.size() >= mMaxClients) return -1;
  const long id = mNextId++;
  Queue& queue = mClients[id];
  for (const auto& [key, event] : mNewest) queue.emplace_back(key, event);
  return id;
}

bool EventHub::Take(long id, std::vector<Text>& out, std::chrono::milliseconds wait) {
  out.clear();
  std::unique_lock<std::mutex> lock(mMutex);
  auto client = mClients.find(id);
  if (client == mClients.end()) return false;
  mReady.wait_for(lock, wait, [&] {
    client = mClients.find(id);
    return mClosed || client == mClients.end() || !client->second.empty();
  });
  if (mClosed || client == mClients.end()) return false;
  for (auto& entry : client->second) out.push_back(std::move(entry.second));
  client->second.clear();
  return true;
}

void EventHub::Leave(long id) {
  {
    std::lock_guard<std::mutex> lock(mMutex);
    mClients.erase(id);
  }
  mReady.notify_all();
}

void EventHub::Close() {
  {
    std::lock_guard<std::mutex> lock(mMutex);
    mClosed = true;
  }
  mReady.notify_all();
}

unsigned long EventHub::Skipped() const {
  std::lock_guard<std::mutex> lock(mMutex);
  return mSkipped;
}

}  // namespace tap
