// Refused texts, and two clients of one process: says what should not have been taken, and when the
// first has gone. The library's log goes to the same place.
using System;
using Veranti;

internal static class Clients
{
    private static int Main()
    {
        var first = new TermsClient();
        var second = new TermsClient();
        foreach (Action<string> call in new Action<string>[] { id => first.IsAgreed(id),
                     id => first.SetAgreed(id, true), product => first.SetAgreed("id", true, product) })
        {
            try
            {
                call("newsletter\0s");
                Console.Error.WriteLine("taken");
            }
            catch (ArgumentException)
            {
            }
        }
        first.Dispose();
        first.Dispose();
        Console.Error.WriteLine("the first has gone");
        second.IsAgreed("id");
        second.Dispose();
        new TermsClient().Dispose();
        return 0;
    }
}
