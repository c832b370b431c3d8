#include "sandbox/products/product_endpoints.hpp"

#include <algorithm>
#include <memory>
#include <string>
#include <utility>

#include "sandbox/api/paging.hpp"
#include "sandbox/media/files.hpp"
#include "sandbox/products/product.hpp"
#include "sandbox/users/members.hpp"
#include "zavelo/models/pagination.hpp"
#include "zavelo/models/stream_product.hpp"

namespace zavelo::sandbox {
namespace {

constexpr auto productId = required(integer("productId", 0, 1e15));
constexpr auto editedId = required(integer("id", 0, 1e15));
constexpr auto pictureParameter = required(jpeg("image", pictureLimit));
constexpr auto streamSlug = required(text("slug", 0, 100));
constexpr auto orderIndexParameter = required(integer("orderIndex", 0, 1e15));

ZVStreamProduct recordOf(const Product& product, const Member& seller, const std::string& site) {
  return {.id = product.id,
          .name = product.name,
          .price = product.price,
          .promoCode = seller.promoCode,
          .promotionPrice = product.promotionPrice,
          .imageUrl = fileAddress(site, productPictures, product.pictureName),
          .url = product.url,
          .label = 0,
          .state = "available",
          .orderIndex = product.orderIndex};
}

/// `nextId` is how many products come before the page.
Response pageOf(StreamContext& context, Transaction& transaction, std::int64_t sellerId,
                const Arguments& arguments) {
  const Member seller = *memberById(transaction, sellerId);
  const std::int64_t cursor = arguments[nextIdParameter];
  const std::int64_t total = productCountOf(transaction, sellerId);
  ZVPaginationResult<ZVStreamProduct> page;
  page.result.emplace();
  for (const auto& product : productsOf(transaction, sellerId, cursor, arguments[limitParameter])) {
    page.result->push_back(
        std::make_shared<ZVStreamProduct>(recordOf(product, seller, context.site)));
  }
  page.nextId = cursor + std::ssize(*page.result);
  page.isEnd = *page.nextId >= total;
  page.totalRecords = total;
  page.promoCode = seller.promoCode;
  page.promoCodeDescription = seller.promoDescription;
  return succeed(page);
}

Response catalogue(StreamContext& context, const Call& call) {
  return context.database.transact([&](Transaction& transaction) {
    return pageOf(context, transaction, *call.identity.member, call.arguments);
  });
}

Response streamProducts(const StreamCall& call) {
  return pageOf(call.context, call.transaction, call.stream.owner, call.arguments);
}

/// The caller's product of that id.
Result<Product, Problem> ownProduct(Transaction& transaction, const Call& call,
                                    const Param<std::int64_t, true>& parameter) {
  auto product = productById(transaction, call.arguments[parameter]);
  if (!product) return Failure{parameterProblem(parameter.name, "there is no such product")};
  if (product->seller != *call.identity.member) {
    return Failure{Problem{Code::noPermission, "This product is another seller's"}};
  }
  return *std::move(product);
}

/// Keeps what the form has and answers the product as it is now.
Response keep(StreamContext& context, Transaction& transaction, std::int64_t id, const Call& call) {
  keepFile(transaction, productPictures, id, call.arguments[pictureParameter]);
  const Product product = *productById(transaction, id);
  return succeed(recordOf(product, *memberById(transaction, product.seller), context.site));
}

Response add(StreamContext& context, const Call& call) {
  return context.database.transact([&](Transaction& transaction) {
    Product product;
    product.seller = *call.identity.member;
    assign(product, call.arguments);
    return keep(context, transaction, addProduct(transaction, product), call);
  });
}

Response edit(StreamContext& context, const Call& call) {
  return context.database.transact([&](Transaction& transaction) {
    auto product = ownProduct(transaction, call, editedId);
    if (!product) return fail(product.error());
    assign(*product, call.arguments);
    updateProduct(transaction, *product);
    return keep(context, transaction, product->id, call);
  });
}

/// The order is the seller's, the same in all their streams. A slug that is given is one of them.
std::optional<Problem> wrongStream(Transaction& transaction, const Call& call) {
  const std::string slug = call.arguments[streamSlug];
  if (slug.empty()) return {};
  const auto stream = streamBySlug(transaction, slug);
  if (!stream) return parameterProblem("slug", "there is no such stream");
  if (stream->owner == call.identity.member) return {};
  return Problem{Code::noPermission, "Only the stream's owner can do this"};
}

Response editOrder(StreamContext& context, const Call& call) {
  return context.database.transact([&](Transaction& transaction) {
    const auto product = ownProduct(transaction, call, productId);
    if (!product) return fail(product.error());
    if (const auto problem = wrongStream(transaction, call)) return fail(*problem);
    const std::int64_t index = call.arguments[orderIndexParameter];
    const std::int64_t last = productCountOf(transaction, product->seller) - 1;
    if (index > last) {
      return fail(parameterProblem("orderIndex", "must be from 0 to " + std::to_string(last)));
    }
    moveProduct(transaction, *product, index);
    return succeed(true);
  });
}

Response remove(StreamContext& context, const Call& call) {
  return context.database.transact([&](Transaction& transaction) {
    const auto product = ownProduct(transaction, call, productId);
    if (!product) return fail(product.error());
    dropProduct(transaction, *product);
    return succeed(true);
  });
}

Response removeAll(StreamContext& context, const Call& call) {
  return context.database.transact([&](Transaction& transaction) {
    const std::int64_t seller = *call.identity.member;
    const std::int64_t count = productCountOf(transaction, seller);
    auto products = productsOf(transaction, seller, 0, count);
    std::ranges::reverse(products);
    for (const auto& product : products) dropProduct(transaction, product);
    return succeed(true);
  });
}

/// What adding takes, a picture included, and then the rest.
std::vector<Parameter> formWith(std::vector<Parameter> rest) {
  auto parameters = productParameters();
  parameters.push_back(pictureParameter);
  std::ranges::move(rest, std::back_inserter(parameters));
  return parameters;
}

}  // namespace

std::vector<Endpoint> productEndpoints(StreamContext& context) {
  const auto at = handlersIn(context);
  auto endpoints = endpointsOf(context, {{"/api/streams/products",
                                          Who::viewer,
                                          When::ever,
                                          streamProducts,
                                          {nextIdParameter, limitParameter}}});
  std::ranges::move(
      std::vector{
          post("/api/users/products", Access::member, at(catalogue),
               {nextIdParameter, limitParameter}),
          post("/api/products/add", Access::member, at(add), formWith({})),
          post("/api/products/edit", Access::member, at(edit), formWith({editedId})),
          post("/api/products/edit-order", Access::member, at(editOrder),
               {productId, streamSlug, orderIndexParameter}),
          post("/api/products/delete", Access::member, at(remove), {productId}),
          post("/api/products/delete-all", Access::member, at(removeAll)),
      },
      std::back_inserter(endpoints));
  return endpoints;
}

}  // namespace zavelo::sandbox
