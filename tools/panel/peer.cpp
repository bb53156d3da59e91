#include "panel/peer.h"

#include "zelq_errors.h"

namespace zelq::tool {

void Reply::Send(std::string text) const
{
    if (!id_.is_null()) Post(std::move(text)); // else nobody asked to be told
}

void Reply::Post(std::string text) const
{
    server_->Post([peer = peer_, text = std::move(text)]() mutable {
        if (const auto there = peer.lock()) there->Send(std::move(text));
    });
}

void Reply::Result(int result, const char* function) const
{
    const ZelqError& row = *ZelqErrorRow(function, result);
    Json json = {{"type", "result"}, {"id", id_}, {"result", result}};
    if (result != ZELQ_OK) {
        json["name"] = row.name;
        json["text"] = row.text;
        json["cause"] = row.causes;
        json["remedy"] = row.remedy;
        json["function"] = function;
    }
    Send(json.dump());
}

void Reply::Refuse(const char* why, const std::string& text) const
{
    Send(
        Json{{"type", "result"}, {"id", id_}, {"result", nullptr}, {"refused", why}, {"text", text}}
            .dump(-1, ' ', false, Json::error_handler_t::replace));
}

void Reply::Failed(int result, const std::string& text) const
{
    Send(Json{{"type", "result"}, {"id", id_}, {"result", result}, {"text", text}}.dump(
        -1, ' ', false, Json::error_handler_t::replace));
}

void Reply::Data(Json data) const
{
    Send(Json{{"type", "data"}, {"id", id_}, {"data", std::move(data)}}.dump(
        -1, ' ', false, Json::error_handler_t::replace));
}

void Reply::Tell(const Json& json) const
{
    Post(json.dump(-1, ' ', false, Json::error_handler_t::replace));
}

void Reply::RawData(const std::string& data) const
{
    Send(R"({"type":"data","id":)" + id_.dump() + R"(,"data":)" + data + "}");
}

} // namespace zelq::tool
