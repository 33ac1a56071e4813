// What the declarations accept and refuse; the compiler is the test.
/// <reference path="../../../extension/valdrin-connection.d.ts" />

async function example(controller: AbortController): Promise<string> {
    if (!window.ValdrinConnection)
        return "not connected";
    const valdrin = new ValdrinConnection();
    try {
        await valdrin.SetSocketPortNum(32153);
        await valdrin.RunPythonStatements("x = 6");
        await valdrin.StashString(await valdrin.GetStashedString());
        const { signal } = controller;
        return await valdrin.RunPythonExpression("x * 7", { signal });
    } catch (error) {
        const { code, message } = error as ValdrinConnectionError;
        return code === "busy" ? "later" : message;
    }
}

async function mistakes(valdrin: ValdrinConnection): Promise<void> {
    // @ts-expect-error A command is a string.
    await valdrin.Run(7);
    // @ts-expect-error Statements cannot be aborted.
    await valdrin.RunPythonStatements("x", {});
    // @ts-expect-error Nothing comes back.
    const nothing: string = await valdrin.StashString("x");
    // @ts-expect-error There is no such code.
    const code: ValdrinConnectionErrorCode = "late";
    void [nothing, code];
}

void [example, mistakes];
