// The base of the framework's objects that others hold on to (files, resource sources): one count
// of how many of them live in the process, so that a test or a shutdown sees what was left behind.
// Threads: any.
#pragma once

#include <cstdint>

class CCountedObject {
 public:
  CCountedObject(const CCountedObject&) = delete;
  CCountedObject& operator=(const CCountedObject&) = delete;

 protected:
  CCountedObject();
  ~CCountedObject();
};

// Live objects of all classes.
int32_t ZRCountLiveObjects();
