using System;
using System.Threading;

namespace Zelq
{
    /// <summary>Ctrl-C in a console, as a token for waits: the program goes on, so that its axes are
    /// stopped and its servos switched off, where it would be ended in the middle.</summary>
    public static class Interrupt
    {
        private static readonly CancellationTokenSource Source = Listen();

        /// <summary>Cancelled by the first Ctrl-C; the second one ends the program.</summary>
        public static CancellationToken Token { get { return Source.Token; } }

        private static CancellationTokenSource Listen()
        {
            var source = new CancellationTokenSource();
            Console.CancelKeyPress += (sender, key) =>
            {
                key.Cancel = !source.IsCancellationRequested;
                source.Cancel();
            };
            return source;
        }
    }
}
