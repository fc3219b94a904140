// The providers' tips, shown verbatim as markdown by the info button.
#include "Routing.h"

namespace vellumix {

QString providerTips(AIProvider provider) {
    switch (provider) {
    case AIProvider::googleGeminiFlash:
        return QStringLiteral(
            "**Google Gemini** runs in the cloud — requires a Gemini API key in Settings. Vellumix "
            "routes Gemini queries between two models based on what you ask for:\n"
            "\n"
            "**Edit the image** (Nano Banana 2 / gemini-3.1-flash-image)\n"
            "- *replace the sky with a sunset*\n"
            "- *add a glow around the logo*\n"
            "- *make this look like a watercolor*\n"
            "- *remove the person in the background*\n"
            "- *change the shirt color to blue*\n"
            "\n"
            "Returned image replaces the canvas, one \"Gemini Edit\" undo step. We ask the model "
            "to "
            "preserve original pixel dimensions; if it doesn't, your annotations are scaled to "
            "match. Annotations are **not** baked into the result.\n"
            "\n"
            "**Draw annotations** (gemini-2.5-flash with object detection)\n"
            "- *circle the lightbulb*\n"
            "- *box the title text*\n"
            "- *draw rectangles around every button*\n"
            "- *circle every person in the photo*\n"
            "\n"
            "Multiple shapes can be drawn from a single query — all batched into one undo step. "
            "Uses the canvas's current toolbar style (stroke / fill / corner radius). Shape choice "
            "(rect vs oval) is inferred from the target unless you specify (\"draw an oval around "
            "…\").\n"
            "\n"
            "**Output controls** (image edit only)\n"
            "- Ask for a specific size: *make it 1024×768*.\n"
            "- Ask for an aspect ratio: *make it 16:9*.\n"
            "- The response panel shows tokens in/out · download size · duration.\n"
            "\n"
            "**Tips**\n"
            "- Keep prompts concrete and short — image models follow the leading verb.\n"
            "- For annotation drawing, name the target precisely (\"the red button\", not \"the "
            "thing\").\n"
            "- If a request fails, the model returns a short explanation instead of an image.\n"
            "- Your key is stored in your desktop keyring (Secret Service).");
    case AIProvider::googleGeminiPro:
        return QStringLiteral(
            "**Google Gemini (Pro)** routes the same way as the Flash option but uses **Nano "
            "Banana Pro** (`gemini-3-pro-image`) for image edits — Google's \"professional design "
            "engine with reasoning core\". Higher fidelity on subtle/complex edits at higher cost "
            "& latency (~2-4×).\n"
            "\n"
            "Use the Pro option when:\n"
            "- The Flash variant's output looks off — small details wrong, prompt partially "
            "ignored.\n"
            "- You're doing a hero edit (single high-value image) and quality > speed.\n"
            "- Edits involve reasoning (e.g. *\"remove the watermark but keep the timestamp\"*, "
            "*\"replace the chart with one showing the same data in a bar format\"*).\n"
            "\n"
            "Use the Flash variant when:\n"
            "- Iterating fast on prompts — Flash returns in ~2s, Pro can be 6-8s.\n"
            "- The edit is straightforward (color shift, style transfer, simple removal).\n"
            "\n"
            "Annotation drawing + Q&A behave identically to the Flash provider — both use "
            "`gemini-3.5-flash` regardless of the picker. Only the image-edit endpoint differs.\n"
            "\n"
            "Your key is the same one (single Gemini keyring entry); switching providers doesn't "
            "require re-entering it.");
    case AIProvider::localModel:
        break;
    }
    return QStringLiteral(
        "**Local model** runs on your computer through a local OpenAI-compatible server "
        "(llama.cpp's llama-server or Ollama). It utilizes a smaller model and context window "
        "that can handle the following types of prompts:\n"
        "\n"
        "**1. Perform basic image-wide edits**\n"
        "- *\"Sharpen the details\"*\n"
        "- *\"Brighten image by 20%\"*\n"
        "- *\"Bump contrast significantly\"*\n"
        "\n"
        "**2. Draw OCR-based and position-based annotations: Rectangle, Oval, Text**\n"
        "- *\"Circle the dollar value in green, medium stroke\"*\n"
        "- *\"Draw red rectangle over the error, 50% opacity\"*\n"
        "- *\"Place text 'Happy BDay!' at 100, 100px, at 300px wide\"*\n"
        "\n"
        "**3. Ask about the image (OCR text in particular)**\n"
        "- *\"What text is in this image?\"* - copy text out\n"
        "- *\"Are there people in this photo?\"* - limited use, no positional info\n"
        "\n"
        "**Tips**\n"
        "- With limited LLM abilities, prompt clarity matters.\n"
        "- The Gemini models offer far better capabilities (API key required).");
}

} // namespace vellumix
