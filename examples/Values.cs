// The values of an analyser, in three ways. Any Windows has the compiler for it:
//
//   %WINDIR%\Microsoft.NET\Framework\v4.0.30319\csc Values.cs
//
//   Values dialog ..\x64                  starts the dialog, waits for its user and prints what was accepted
//   Values once   ..\x64 [OPTION...]      one measurement without a window
//   Values follow ..\x64 [OPTION...]      each second, until Ctrl+C
//
// The options of the last two are those of nelto-read, such as --link COM5. The exit code is nelto-read's; of the dialog 1 when its user has
// cancelled. This program has not been compiled or run yet: the tests of the project have no C#. values.py does the same, and is tested.
using System;
using System.Diagnostics;
using System.IO;
using System.Linq;
using System.Text;

static class Values
{
    static int Dialog(string folder)
    {
        string file = Path.Combine(Path.GetTempPath(), "NeltoStackWatcher.txt");
        File.Delete(file);
        Process.Start(Path.Combine(folder, "NeltoStackWatcher.exe"), "JOB17").WaitForExit(); // the word comes back as the first line
        if (!File.Exists(file)) return 1;
        Console.Write(File.ReadAllText(file, Encoding.Default)); // the ANSI code page
        File.Delete(file);
        return 0;
    }

    // The lines of the exchange file, or of a table with commas: the framework reads no JSON by itself.
    static int Read(string folder, string options, Action<string> show)
    {
        ProcessStartInfo start = new ProcessStartInfo(Path.Combine(folder, "nelto-read.exe"), options);
        start.UseShellExecute = false;
        start.RedirectStandardOutput = true;
        start.StandardOutputEncoding = Encoding.UTF8;
        using (Process reader = Process.Start(start))
        {
            for (string line; (line = reader.StandardOutput.ReadLine()) != null;) show(line);
            reader.WaitForExit();
            return reader.ExitCode;
        }
    }

    static int Main(string[] words)
    {
        if (words.Length < 2) { Console.Error.WriteLine("Values dialog|once|follow FOLDER [OPTION...]"); return 2; }
        string options = " " + string.Join(" ", words.Skip(2).ToArray());
        switch (words[0])
        {
            case "dialog": return Dialog(words[1]);
            case "once": return Read(words[1], "--format exchange" + options, Console.WriteLine); // 2003=4.3 and so on
            case "follow": return Read(words[1], "--watch --format csv" + options, Console.WriteLine);
            default: Console.Error.WriteLine("Values dialog|once|follow FOLDER [OPTION...]"); return 2;
        }
    }
}
