#include "workspace/PicturePlayer.h"

#if LD_HAS_MPV

#include <mpv/client.h>
#include <mpv/render.h>

#include <atomic>
#include <clocale>
#include <cmath>

// The picture through libmpv, which draws into memory of ours (its software renderer): no window of its own, no sound.

namespace ld
{
namespace
{

constexpr int longestLoadMs = 5000;

struct HandleCloser
{
    void operator() (mpv_handle* handle) const { mpv_terminate_destroy (handle); }
};

struct RendererCloser
{
    void operator() (mpv_render_context* renderer) const { mpv_render_context_free (renderer); }
};

// The library refuses to start under a locale in which numbers are written with a comma.
class NumericLocale
{
public:
    NumericLocale() : before (std::setlocale (LC_NUMERIC, nullptr)) { std::setlocale (LC_NUMERIC, "C"); }
    ~NumericLocale() { std::setlocale (LC_NUMERIC, before.c_str()); }
    NumericLocale (const NumericLocale&) = delete;
    NumericLocale& operator= (const NumericLocale&) = delete;

private:
    const std::string before;
};

}    // namespace

class PicturePlayer::Player : private juce::AsyncUpdater
{
public:
    explicit Player (PicturePlayer& componentToDraw) : component (componentToDraw) {}

    ~Player() override
    {
        if (renderer != nullptr)
        {
            mpv_render_context_set_update_callback (renderer.get(), nullptr, nullptr);
            mpv_set_wakeup_callback (handle.get(), nullptr, nullptr);
        }

        cancelPendingUpdate();
    }

    [[nodiscard]] juce::Result load (const juce::File& file)
    {
        if (! file.existsAsFile())
            return juce::Result::fail ("There is no " + file.getFileName() + ".");

        if (! start())
            return juce::Result::fail ("The picture player could not be started.");

        const char* command[] = { "loadfile", file.getFullPathName().toRawUTF8(), nullptr };

        if (mpv_command (handle.get(), command) < 0 || ! waitUntilLoaded() || ! hasPicture())
            return juce::Result::fail ("Could not show " + file.getFileName() + " as a picture.");

        seconds = number ("duration");
        render();
        return juce::Result::ok();
    }

    void play() { setFlag ("pause", false); }
    void stop() { setFlag ("pause", true); }
    [[nodiscard]] bool isPlaying() const { return ! flag ("pause") && ! flag ("eof-reached"); }

    void setPosition (double target)
    {
        wanted = juce::jlimit (0.0, seconds, target);

        if (! isSeeking)
            seek();
    }

    // While the player is on its way the position is where it goes.
    [[nodiscard]] double position() const { return isSeeking ? wanted : number ("time-pos"); }
    [[nodiscard]] double duration() const { return seconds; }

    void setVolume (float volume)
    {
        auto percent = (double) volume * 100.0;
        mpv_set_property (handle.get(), "volume", MPV_FORMAT_DOUBLE, &percent);
    }

    void render()
    {
        const auto width = component.getWidth(), height = component.getHeight();

        if (renderer == nullptr || width < 1 || height < 1)
            return;

        if (! picture.isValid() || picture.getBounds() != component.getLocalBounds())
            picture = juce::Image (juce::Image::RGB, width, height, true, juce::SoftwareImageType());

        // The framework's own pixels of three bytes; the library's are drawn beside and copied.
        pixels.resize ((size_t) width * (size_t) height * 4);
        int size[] = { width, height };
        size_t stride = (size_t) width * 4;
        char format[] = "bgr0";
        mpv_render_param parameters[] = { { MPV_RENDER_PARAM_SW_SIZE, size },
                                          { MPV_RENDER_PARAM_SW_FORMAT, format },
                                          { MPV_RENDER_PARAM_SW_STRIDE, &stride },
                                          { MPV_RENDER_PARAM_SW_POINTER, pixels.data() },
                                          { MPV_RENDER_PARAM_INVALID, nullptr } };

        if (mpv_render_context_render (renderer.get(), parameters) < 0)
            return;

        copyPixels (width, height);
        component.repaint();
    }

    juce::Image picture;

private:
    bool start()
    {
        const NumericLocale locale;
        handle.reset (mpv_create());

        if (handle == nullptr)
            return false;

        const std::pair<const char*, const char*> options[] = {
            { "config", "no" },
            { "terminal", "no" },
            { "osc", "no" },
            { "osd-level", "0" },
            { "load-scripts", "no" },
            { "input-default-bindings", "no" },
            { "ytdl", "no" },
            { "audio", "no" },
            { "sub", "no" },
            { "hwdec", "no" },
            { "vo", "libmpv" },
            { "keep-open", "always" },
            { "hr-seek", "yes" },
            { "pause", "yes" },
            { "idle", "yes" },
            { "save-position-on-quit", "no" },
            { "resume-playback", "no" },
        };

        for (const auto& [name, value] : options)
            mpv_set_option_string (handle.get(), name, value);

        return mpv_initialize (handle.get()) >= 0 && startRenderer();
    }

    bool startRenderer()
    {
        char type[] = MPV_RENDER_API_TYPE_SW;
        mpv_render_param parameters[] = { { MPV_RENDER_PARAM_API_TYPE, type }, { MPV_RENDER_PARAM_INVALID, nullptr } };
        mpv_render_context* created = nullptr;

        if (mpv_render_context_create (&created, handle.get(), parameters) < 0)
            return false;

        renderer.reset (created);

        // Called on a thread of the library's, which must only pass it on.
        mpv_render_context_set_update_callback (
            created, [] (void* self) { static_cast<Player*> (self)->triggerAsyncUpdate(); }, this);
        mpv_set_wakeup_callback (
            handle.get(), [] (void* self) { static_cast<Player*> (self)->triggerAsyncUpdate(); }, this);
        return true;
    }

    void handleAsyncUpdate() override
    {
        takeEvents();

        if ((mpv_render_context_update (renderer.get()) & MPV_RENDER_UPDATE_FRAME) != 0)
            render();
    }

    void takeEvents()
    {
        for (auto* event = mpv_wait_event (handle.get(), 0.0); event->event_id != MPV_EVENT_NONE;
             event = mpv_wait_event (handle.get(), 0.0))
        {
            const auto isRefused = event->event_id == MPV_EVENT_COMMAND_REPLY && event->error < 0;

            if (isRefused || event->event_id == MPV_EVENT_PLAYBACK_RESTART)
                endSeek();
        }
    }

    void seek()
    {
        isSeeking = true;
        asked = wanted;
        const auto text = juce::String (wanted, 6);
        const char* command[] = { "seek", text.toRawUTF8(), "absolute+exact", nullptr };

        if (mpv_command_async (handle.get(), 0, command) < 0)
            isSeeking = false;
    }

    void endSeek()
    {
        isSeeking = false;

        // Of all that was asked for meanwhile only the last counts.
        if (wanted != asked)
            seek();
    }

    bool waitUntilLoaded()
    {
        const auto end = juce::Time::getMillisecondCounter() + (juce::uint32) longestLoadMs;

        while (juce::Time::getMillisecondCounter() < end)
        {
            const auto* const event = mpv_wait_event (handle.get(), 0.05);

            if (event->event_id == MPV_EVENT_END_FILE || event->event_id == MPV_EVENT_SHUTDOWN)
                return false;

            if (event->event_id == MPV_EVENT_PLAYBACK_RESTART)
                return true;

            // The first frame is only decoded when somebody takes it.
            if ((mpv_render_context_update (renderer.get()) & MPV_RENDER_UPDATE_FRAME) != 0)
                render();
        }

        return false;
    }

    [[nodiscard]] bool hasPicture() const { return number ("video-params/w") >= 1.0; }

    void copyPixels (int width, int height)
    {
        juce::Image::BitmapData target (picture, juce::Image::BitmapData::writeOnly);

        for (int y = 0; y < height; ++y)
        {
            const auto* from = pixels.data() + (size_t) y * (size_t) width * 4;

            for (int x = 0; x < width; ++x, from += 4)
                target.setPixelColour (x, y, juce::Colour (from[2], from[1], from[0]));
        }
    }

    [[nodiscard]] double number (const char* name) const
    {
        auto value = 0.0;
        return mpv_get_property (handle.get(), name, MPV_FORMAT_DOUBLE, &value) >= 0 ? value : 0.0;
    }

    [[nodiscard]] bool flag (const char* name) const
    {
        auto value = 0;
        return mpv_get_property (handle.get(), name, MPV_FORMAT_FLAG, &value) >= 0 && value != 0;
    }

    void setFlag (const char* name, bool isSet)
    {
        auto value = isSet ? 1 : 0;
        mpv_set_property (handle.get(), name, MPV_FORMAT_FLAG, &value);
    }

    PicturePlayer& component;
    std::unique_ptr<mpv_handle, HandleCloser> handle;
    std::unique_ptr<mpv_render_context, RendererCloser> renderer;    // goes before the handle
    std::vector<juce::uint8> pixels;
    double seconds = 0.0;
    double wanted = 0.0, asked = 0.0;    // positions
    bool isSeeking = false;
};

PicturePlayer::PicturePlayer()
{
    setOpaque (true);
    setTitle ("Picture");
}

PicturePlayer::~PicturePlayer() = default;

juce::Result PicturePlayer::load (const juce::File& file)
{
    auto opened = std::make_unique<Player> (*this);
    const auto result = opened->load (file);

    if (result.wasOk())
    {
        player = std::move (opened);
        repaint();
    }

    return result;
}

void PicturePlayer::close()
{
    player.reset();
    repaint();
}

void PicturePlayer::play()
{
    if (player != nullptr)
        player->play();
}

void PicturePlayer::stop()
{
    if (player != nullptr)
        player->stop();
}

bool PicturePlayer::isPlaying() const
{
    return player != nullptr && player->isPlaying();
}

void PicturePlayer::setPosition (double seconds)
{
    if (player != nullptr)
        player->setPosition (seconds);
}

double PicturePlayer::position() const
{
    return player != nullptr ? player->position() : 0.0;
}

double PicturePlayer::duration() const
{
    return player != nullptr ? player->duration() : 0.0;
}

void PicturePlayer::setVolume (float volume)
{
    if (player != nullptr)
        player->setVolume (volume);
}

void PicturePlayer::paint (juce::Graphics& g)
{
    g.fillAll (juce::Colours::black);

    if (player != nullptr && player->picture.isValid())
        g.drawImageAt (player->picture, 0, 0);
}

void PicturePlayer::resized()
{
    if (player != nullptr)
        player->render();
}

}    // namespace ld

#endif
