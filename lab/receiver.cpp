// A web server that takes what is posted to it: for webhooks. Prints its port, and then each body on a line.
#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/http.hpp>
#include <boost/program_options.hpp>
#include <iostream>
#include <optional>

#include "lab/ToolMain.h"

namespace {

namespace asio = boost::asio;
namespace http = boost::beast::http;
namespace options = boost::program_options;

struct Arguments {
  unsigned refuse = 0;
};

// Throws options::error; no value when only help was asked for.
std::optional<Arguments> parse(int count, char **words) {
  Arguments arguments;
  options::options_description known(
      "Listens on the loopback address, prints the port, and then what is posted to it, a line for each", 100);
  auto add = known.add_options();
  add("help", "print this help");
  add("refuse", options::value(&arguments.refuse)->default_value(0), "so many are refused at first");

  options::variables_map given;
  options::store(options::parse_command_line(count, words, known), given);
  if (given.contains("help")) {
    std::cout << known;
    return {};
  }
  options::notify(given);
  return arguments;
}

void serve(asio::ip::tcp::socket socket, unsigned &refuse) {
  boost::system::error_code error;
  boost::beast::flat_buffer buffer;
  http::request<http::string_body> request;
  http::read(socket, buffer, request, error);
  if (error) return;
  const bool refused = refuse > 0;
  http::response<http::empty_body> response(refused ? http::status::service_unavailable : http::status::no_content,
                                            request.version());
  http::write(socket, response, error);
  if (refused) --refuse;
  std::string body = request.body();
  body.erase(body.find_last_not_of('\n') + 1);
  std::cout << (refused ? "refused " : "") << request.method_string() << ' ' << body << std::endl;
}

void run(const Arguments &arguments) {
  asio::io_context context;
  asio::ip::tcp::acceptor acceptor(context, {asio::ip::address_v4::loopback(), 0});
  std::cout << acceptor.local_endpoint().port() << std::endl;
  for (unsigned refuse = arguments.refuse;;) serve(acceptor.accept(), refuse);
}

}  // namespace

int main(int count, char **words) { return Lab::toolMain("receiver", count, words, parse, run); }
