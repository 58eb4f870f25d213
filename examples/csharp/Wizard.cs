// A set-up wizard's agreement in C#: waits for the terms service, agrees to a term and checks.
//
//   csharp-wizard [ID [ATTEMPTS]]
//
// ATTEMPTS is how often it asks for the service, once a second.
using System;
using System.Threading;
using Veranti;

internal static class Wizard
{
    private static int Main(string[] arguments)
    {
        string id = arguments.Length > 0 ? arguments[0] : "privacy_policy";
        int attempts = 10;
        if (arguments.Length > 1 && (!int.TryParse(arguments[1], out attempts) || attempts < 1))
        {
            return Fail("\"" + arguments[1] + "\" is no number of attempts: give 1 or more.");
        }
        using (var client = new TermsClient())
        {
            if (!WaitForService(client, attempts))
            {
                return Fail("The terms service does not answer: start it, then try again.");
            }
            Console.WriteLine("Agreed to {0} before: {1}", id, client.IsAgreed(id) ? "yes" : "no");
            if (!client.SetAgreed(id, true))
            {
                return Fail("The terms service did not take the agreement to \"" + id + "\".");
            }
            Console.WriteLine("Agreed to {0} now: {1}", id, client.IsAgreed(id) ? "yes" : "no");
            return 0;
        }
    }

    private static bool WaitForService(TermsClient client, int attempts)
    {
        while (!client.IsAvailable)
        {
            if (--attempts <= 0)
            {
                return false;
            }
            Thread.Sleep(TimeSpan.FromSeconds(1));
        }
        return true;
    }

    private static int Fail(string sentence)
    {
        Console.Error.WriteLine(sentence);
        return 1;
    }
}
