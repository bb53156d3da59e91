using System;
using System.Linq;

namespace Zelq
{
    /// <summary>What a result means, or a range of them.</summary>
    public sealed class Result
    {
        internal Result(string function, int first, int last, string name, string text, string causes,
                        string remedy)
        {
            Function = function;
            First = first;
            Last = last;
            Name = name;
            Text = text;
            Causes = causes;
            Remedy = remedy;
        }

        /// <summary>The one function whose result this is; null: any function's.</summary>
        public string Function { get; }
        /// <summary>The result; of a range that which counts from here.</summary>
        public int First { get; }
        /// <summary>The last of the range, further from 0.</summary>
        public int Last { get; }
        /// <summary>Short and unique, such as "ZELQ_NO_REPLY".</summary>
        public string Name { get; }
        /// <summary>What has happened.</summary>
        public string Text { get; }
        /// <summary>What it likely comes from.</summary>
        public string Causes { get; }
        /// <summary>What to do.</summary>
        public string Remedy { get; }

        /// <summary>The meaning of a result; of some, what it means as the result of one
        /// function.</summary>
        public static Result Explain(int code, string function = null)
        {
            return Raw.Results
                .Where(row => Math.Min(row.First, row.Last) <= code &&
                              code <= Math.Max(row.First, row.Last) &&
                              (row.Function == null || row.Function == function))
                .OrderBy(row => row.Function == null)
                .First();
        }
    }

    /// <summary>A call has failed.</summary>
    public class ZelqException : Exception
    {
        /// <summary>Tells of the result of a function.</summary>
        public ZelqException(string function, int code)
            : this(function, code, Result.Explain(code, function))
        {}

        internal ZelqException(string function, int code, Result result)
            : base($"{function} gives {code}, {result.Name}: {result.Text}\n" +
                   $"Likely causes: {result.Causes}\nWhat to do: {result.Remedy}")
        {
            Function = function;
            Code = code;
            Result = result;
        }

        /// <summary>The function that has failed.</summary>
        public string Function { get; }
        /// <summary>Its result: below 0 the library's, above 0 the controller's.</summary>
        public int Code { get; }
        /// <summary>Name, text, causes and remedy.</summary>
        public Result Result { get; }
    }

    /// <summary>An axis has not come to its target.</summary>
    public class MotionException : ZelqException
    {
        internal MotionException(int axis, int cause, string name, string text, string remedy)
            : base($"axis {axis}", cause,
                   new Result(null, cause, cause, name, text,
                              "A stop, a limit, an alarm, the emergency stop or a servo that went off; " +
                                  "too little time for the way.",
                              remedy))
        {
            Axis = axis;
        }

        /// <summary>The axis; Code tells why its motion ended (its stopCause).</summary>
        public int Axis { get; }
    }

    /// <summary>A motion did not end in the time that was given to it; its axes have been
    /// stopped.</summary>
    public sealed class MotionTimeoutException : MotionException
    {
        internal MotionTimeoutException(int axis, TimeSpan timeout)
            : base(axis, 0, "WAIT_TIMEOUT", $"The motion has not ended within {timeout}.",
                   "Give more time, or look why the axis takes so long.")
        {}
    }
}
