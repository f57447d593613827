// A libcurl handle that is set up for requests which differ in nothing but their body.
#pragma once

#include "rest_options.h"

#include <cf/rest.h>

#include <curl/curl.h>

#include <memory>
#include <string>

struct EasyHandleDeleter {
  void operator()(CURL* handle) const noexcept { curl_easy_cleanup(handle); }
};
using EasyHandle = std::unique_ptr<CURL, EasyHandleDeleter>;

/// All of an order but its body, copied.
class RestRecipe {
 public:
  explicit RestRecipe(const RestOrder& order);
  /// Whether `order` differs in its body alone.
  bool describes(const RestOrder& order) const;

 private:
  RestMethod method_;
  bool hasBody_;
  bool isStreaming_;
  CMRestGlobalSettings settings_;
  std::string url_;
  CMRestParams query_;
  bool hasAuthorization_;
  std::string authorization_;
  CMRestParams sessionHeaders_;
  CMRestParams requestHeaders_;
};

struct RestSetup {
  explicit RestSetup(const RestOrder& order) : recipe(order) {}

  RestRecipe recipe;
  RestPlan plan{};
  EasyHandle easy;  // last: refers to the plan
};
