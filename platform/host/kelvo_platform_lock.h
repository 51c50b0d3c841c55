// SPDX-License-Identifier: Apache-2.0
//
// A mutex held for a scope.
#pragma once

#include <pthread.h>

namespace kelvo::host {

class Locked {
  public:
    explicit Locked(pthread_mutex_t& mutex) noexcept : mutex_(mutex) {
        pthread_mutex_lock(&mutex_);
    }
    ~Locked() noexcept { pthread_mutex_unlock(&mutex_); }
    Locked(const Locked&) = delete;
    Locked& operator=(const Locked&) = delete;

  private:
    pthread_mutex_t& mutex_;
};

}  // namespace kelvo::host
