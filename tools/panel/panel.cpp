#include "panel/panel.h"

#include "frame/failure.h"
#include "frame/motion.h"
#include "panel/hub.h"
#include "panel/page.h"
#include "panel/process.h"

#include <algorithm>
#include <cstdio>
#include <thread>

namespace zelq::tool {

namespace {

/// Nothing but what the program itself serves; nobody's frame.
constexpr const char* kPolicy =
    "default-src 'none'; script-src 'self'; style-src 'self'; img-src 'self' data: blob:; "
    "connect-src 'self'; base-uri 'none'; form-action 'none'; frame-ancestors 'none'";

/// Longer than any axis brakes.
constexpr std::chrono::seconds kBrakingTime{5};
constexpr Milliseconds kLookAtEnd{20};

std::string MakeToken()
{
    std::string token;
    for (const unsigned byte : RandomBytes()) {
        std::array<char, 4> digits{};
        std::snprintf(digits.data(), digits.size(), "%02x", byte);
        token += digits.data();
    }
    return token;
}

web::Response WithPolicy(web::Response response)
{
    response.headers = {{"Content-Security-Policy", kPolicy},
                        {"X-Content-Type-Options", "nosniff"},
                        {"Referrer-Policy", "no-referrer"},
                        {"Cross-Origin-Opener-Policy", "same-origin"}};
    return response;
}

std::string TitleOfController(const Machine& machine)
{
    const std::string& name = machine.Where().Where().name;
    std::array<unsigned short, 19> info{};
    std::array<char, 64> model{};
    if (zelQ_GetDevInfo(machine.Number(), info.data()) == ZELQ_OK) {
        zelQ_GetDevInfoToModelStr(info.data(), model.data(), static_cast<short>(model.size()));
    }
    const std::string text = model.data();
    return name.empty() || text.empty() ? name + text : name + " (" + text + ")";
}

HubOptions HubOptionsFor(Machine& machine, const PanelSettings& settings, const std::string& token)
{
    const std::string address = machine.Where().Where().Address();
    HubOptions options{token, settings.readOnly, settings.simulator, {}, DescribeAxes(machine)};
    options.controller = {{"network", address.substr(0, address.rfind('.'))},
                          {"number", machine.Number()},
                          {"port", machine.Where().Where().port},
                          {"title", TitleOfController(machine)},
                          {"simulated", settings.simulator.has_value()}};
    return options;
}

} // namespace

class Panel::Impl
{
  public:
    Impl(Controller& controller, const PanelSettings& settings);
    ~Impl();
    Impl(const Impl&) = delete;
    Impl& operator=(const Impl&) = delete;

    [[nodiscard]] std::string Address() const;

  private:
    web::Answer Serve(const web::Request& request);
    void StopMoved();

    PanelSettings settings_;
    std::string token_;
    Machine machine_;
    std::atomic<Hub*> ready_ = nullptr; ///< requests come from the server's first moment on
    web::HttpServer server_;
    Poller poller_;
    Jogger jogger_;
    Worker worker_;
    Worker reader_;
    Stopper stopper_;
    TraceFeed trace_;
    Hub hub_;
};

Panel::Impl::Impl(Controller& controller, const PanelSettings& settings)
    : settings_(settings),
      token_(MakeToken()),
      machine_(controller),
      server_(settings.address, settings.port,
              [this](const web::Request& request) { return Serve(request); }),
      poller_(machine_, settings.period,
              [this](const Sight& sight) {
                  jogger_.Saw(sight);
                  hub_.Saw(sight);
              }),
      jogger_(machine_, [this](bool busy) { poller_.Set(Poller::kJog, busy); }),
      stopper_(machine_),
      trace_([this](const std::vector<std::string>& lines, const std::string& problem) {
          hub_.Traced(lines, problem);
      }),
      hub_({server_, machine_, poller_, jogger_, worker_, reader_, stopper_, trace_},
           HubOptionsFor(machine_, settings, token_))
{
    poller_.Start();
    jogger_.Start();
    worker_.Start();
    reader_.Start();
    stopper_.Start();
    trace_.Start();
    ready_ = &hub_;
}

Panel::Impl::~Impl()
{
    machine_.BeginStop(); // nothing is begun any more
    jogger_.Stop();
    worker_.Stop();
    reader_.Stop();
    stopper_.Stop();
    StopMoved();
    poller_.Stop();
    trace_.Stop();
    server_.Stop(); // and only then the hub goes, which is its alone
}

void Panel::Impl::StopMoved()
{
    const std::vector<unsigned short> moved = machine_.Moved();
    if (moved.empty()) return;
    const auto end = SteadyClock::now() + kBrakingTime;
    ControllerStatus status{};
    bool stands = false;
    bool isStopped = false;
    while (!stands && SteadyClock::now() < end) {
        isStopped = isStopped || machine_.Stop(Gate::kStop, moved) == ZELQ_OK;
        stands = isStopped &&
                 machine_.Pass(Gate::kStop,
                               [&] { return zelQ_GetAllStatus(machine_.Number(), &status); }) ==
                     ZELQ_OK &&
                 AreAtRest(status, moved);
        if (!stands) std::this_thread::sleep_for(kLookAtEnd);
    }
    if (!stands) std::fprintf(stderr, "zelq: the axes could not be stopped\n");
}

std::string Panel::Impl::Address() const
{
    const bool isSix = settings_.address.find(':') != std::string::npos;
    const std::string host = isSix ? "[" + settings_.address + "]" : settings_.address;
    return "http://" + host + ":" + std::to_string(server_.Port()) + "/#" + token_;
}

web::Answer Panel::Impl::Serve(const web::Request& request)
{
    Hub* const hub = ready_;
    if (hub == nullptr) return WithPolicy(web::Refusal(503, "the panel is about to start"));
    if (request.method != "GET") {
        web::Response response = web::Refusal(405, "there is only GET here");
        response.allow = "GET";
        return WithPolicy(std::move(response));
    }
    if (request.path == "/live") return hub->Welcome();
    const std::string name = request.path == "/" ? "index.html" : request.path.substr(1);
    const std::vector<PageFile>& files = PageFiles();
    const auto file = std::find_if(files.begin(), files.end(),
                                   [&](const PageFile& each) { return each.name == name; });
    if (file == files.end()) return WithPolicy(web::Refusal(404, "nothing is there"));
    return WithPolicy({200, std::string(file->text), std::string(file->type), "", {}});
}

Panel::Panel(Controller& controller, const PanelSettings& settings)
    : impl_(std::make_unique<Impl>(controller, settings))
{}

Panel::~Panel() = default;

std::string Panel::Address() const
{
    return impl_->Address();
}

} // namespace zelq::tool
