#include "rest_setup.h"

RestRecipe::RestRecipe(const RestOrder& order)
    : method_(order.method),
      hasBody_(order.body != nullptr),
      isStreaming_(order.receiver != nullptr),
      settings_(order.settings),
      url_(order.request.getURL()),
      query_(order.request.getQueryParams()),
      hasAuthorization_(order.session.hasAuthorization()),
      authorization_(order.session.getAuthorizationHeaderValue()),
      sessionHeaders_(order.session.getHeaderParams()),
      requestHeaders_(order.request.getHeaderParams()) {}

bool RestRecipe::describes(const RestOrder& order) const {
  return method_ == order.method && hasBody_ == (order.body != nullptr) &&
         isStreaming_ == (order.receiver != nullptr) && url_ == order.request.getURL() &&
         query_ == order.request.getQueryParams() && hasAuthorization_ == order.session.hasAuthorization() &&
         authorization_ == order.session.getAuthorizationHeaderValue() &&
         sessionHeaders_ == order.session.getHeaderParams() && requestHeaders_ == order.request.getHeaderParams() &&
         settings_ == order.settings;
}
