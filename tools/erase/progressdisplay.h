#ifndef MERVANE_ERASE_PROGRESSDISPLAY_H
#define MERVANE_ERASE_PROGRESSDISPLAY_H

// Progress of mervane-erase on standard output: on a terminal one line of
// two bars (the whole batch and the photo at work), redrawn with \r; to a
// pipe or file plain lines ("42%", in a batch "3/50 NAME 42%"); nothing
// with --quiet. Errors go to standard error and clear the bar line first.

#include <QString>

class ProgressDisplay
{
public:
    enum class Mode
    {
        Bar,
        Lines,
        Silent,
    };

    ProgressDisplay(Mode mode, int photos, bool batch);
    // The mode for standard output as it is: a bar on a terminal.
    static Mode modeForStdout(bool quiet);

    void startPhoto(int index, const QString &name);
    void update(int percent);
    void endPhoto();
    // Ends the bar's line, once all photos are done.
    void finish();
    // Prints "mervane-erase: MESSAGE" on standard error, on a line of its own.
    void error(const QString &message);
    void note(const QString &message);

private:
    void draw();

    Mode m_mode;
    int m_photos;
    bool m_batch;
    int m_index = 0;
    int m_percent = -1;
    QString m_name;
    bool m_barShown = false;
};

#endif // MERVANE_ERASE_PROGRESSDISPLAY_H
