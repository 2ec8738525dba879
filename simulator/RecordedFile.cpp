#include <cerrno>

#include <utility>

#include "simulator/MachineFile.h"

// The requests and answers of a "recorded" drive in a machine file.
namespace simulator {

namespace {

RecordedAnswer parseAnswer(const JsonValue& value) {
  JsonObject object(value);
  RecordedAnswer answer;
  if (const auto error = object.find("errno")) {
    answer.result = -1;
    answer.error = error->errnoName();
  }
  if (const auto result = object.find("return")) {
    if (answer.result == -1) {
      result->fail("an answer with an errno has no other result");
    }
    answer.result = static_cast<int>(result->integer(0, 0x7fffffff));
  }
  if (const auto header = object.find("header")) {
    answer.header = header->bytes(kDriveCmdHeader);
  }
  if (const auto data = object.find("data")) {
    answer.data = data->bytes();
  }
  if (const auto sense = object.find("sense")) {
    answer.sense = sense->bytes();
  }
  if (const auto status = object.find("status")) {
    answer.status = status->integer<std::uint8_t>();
  }
  if (const auto status = object.find("hostStatus")) {
    answer.hostStatus = status->integer<std::uint16_t>();
  }
  if (const auto status = object.find("driverStatus")) {
    answer.driverStatus = status->integer<std::uint16_t>();
  }
  if (const auto result = object.find("result")) {
    answer.nvmeResult = result->integer<std::uint32_t>();
  }
  object.finish();
  return answer;
}

RecordedRequest parseRequest(const JsonValue& value) {
  JsonObject object(value);
  RecordedRequest request;
  request.kind = parseRequestKind(object.need("request"));
  if (const auto sent = object.find("sent")) {
    request.sent = sent->bytes();
  }
  const JsonValue answers = object.need("answers");
  for (const JsonValue& answer : answers.list()) {
    request.answers.push_back(parseAnswer(answer));
  }
  if (request.answers.empty()) {
    answers.fail("at least one answer expected");
  }
  object.finish();
  return request;
}

}  // namespace

RequestKind parseRequestKind(const JsonValue& value) {
  return static_cast<RequestKind>(value.oneOf(requestNames()));
}

RecordedDescription parseRecorded(JsonObject& object, std::string node) {
  RecordedDescription drive;
  drive.node = std::move(node);
  for (const JsonValue& request : object.need("requests").list()) {
    drive.requests.push_back(parseRequest(request));
  }
  return drive;
}

}  // namespace simulator
