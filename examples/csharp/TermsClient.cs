using System;
using System.Runtime.InteropServices;

namespace Veranti
{
/// <summary>The television's terms service, as far as C# applications talk to it.</summary>
/// <remarks>The library keeps one client for the whole process, which ends with the last
/// TermsClient. Calls may come from any thread and return with the service's answer, however long
/// the service takes: never call on the thread of a user interface. A reply of another shape than
/// the service's ends the process.</remarks>
public sealed class TermsClient : IDisposable
{
    private static readonly object Gate = new object();
    private static int alive;
    private bool disposed;

    public TermsClient()
    {
        lock (Gate)
        {
            Native.CSharpGetInstance();
            ++alive;
        }
    }

    /// <summary>Whether the service answers that it is up.</summary>
    public bool IsAvailable
    {
        get
        {
            CheckAlive();
            return Native.CSharpIsServiceAvailable() != 0;
        }
    }

    /// <summary>Whether the user has agreed to a term, for the television itself.</summary>
    public bool IsAgreed(string id)
    {
        CheckAlive();
        CheckText(id, nameof(id));
        int agreed = 0;
        Native.CSharpGetDisclaimerItemAgreement(id, ref agreed);
        return agreed != 0;
    }

    /// <summary>Records an agreement, or withdraws it.</summary>
    /// <param name="product">the product that it is given for; "TV" is the television
    /// itself.</param>
    /// <returns>Whether the service has recorded it.</returns>
    public bool SetAgreed(string id, bool agreed, string product = "TV")
    {
        CheckAlive();
        CheckText(id, nameof(id));
        CheckText(product, nameof(product));
        return Native.CSharpSetDisclaimerItemAgreement(id, agreed ? 1 : 0, product) != 0;
    }

    public void Dispose()
    {
        lock (Gate)
        {
            if (!disposed && --alive == 0)
            {
                Native.CSharpDestroy();
            }
            disposed = true;
        }
    }

    // After its end the library would call through a stale pointer, a null text would end the
    // process, and of a text with a NUL it would see the part in front: none comes from here.
    private void CheckAlive()
    {
        if (disposed)
        {
            throw new ObjectDisposedException(nameof(TermsClient));
        }
    }

    private static void CheckText(string text, string name)
    {
        if (text == null)
        {
            throw new ArgumentNullException(name);
        }
        if (text.IndexOf('\0') >= 0)
        {
            throw new ArgumentException("A text must not hold a NUL.", name);
        }
    }

    private static class Native
    {
        private const string Library = "libcapi-veranti-service.so.0";

        [DllImport(Library)]
        internal static extern IntPtr CSharpGetInstance();

        [DllImport(Library)]
        internal static extern void CSharpDestroy();

        [DllImport(Library)]
        internal static extern int CSharpIsServiceAvailable();

        [DllImport(Library)]
        internal static extern int CSharpSetDisclaimerItemAgreement(
            [MarshalAs(UnmanagedType.LPUTF8Str)] string strItemId, int isAgreed,
            [MarshalAs(UnmanagedType.LPUTF8Str)] string productType);

        [DllImport(Library)]
        internal static extern int CSharpGetDisclaimerItemAgreement(
            [MarshalAs(UnmanagedType.LPUTF8Str)] string strItemId, ref int pIsAgreed);
    }
}
}
