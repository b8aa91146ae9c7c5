// The headline page's one script, allowed by its digest. A click on an article's block, anywhere but on
// a link of its own, follows the block's command; a held picture loads when it is clicked. It reads
// nothing from the page but these attributes of the program's own elements, and sends nothing anywhere.
(function () {
  "use strict";

  function showHeldPicture(placeholder) {
    var picture = document.createElement("img");
    picture.src = placeholder.getAttribute("data-src");
    picture.alt = placeholder.getAttribute("data-alt") || "";
    ["width", "height"].forEach(function (size) {
      var value = placeholder.getAttribute("data-" + size);
      if (value) picture.setAttribute(size, value);
    });
    placeholder.replaceWith(picture);
  }

  document.addEventListener(
    "click",
    function (event) {
      var target = event.target;
      if (!(target instanceof Element)) return;
      var held = target.closest(".heldPicture");
      if (held) {
        // Loading the picture is all the click does, even when the picture sits inside a link.
        event.preventDefault();
        event.stopPropagation();
        showHeldPicture(held);
        return;
      }
      if (target.closest("a[href]")) return;
      var entry = target.closest("[data-command]");
      if (entry) window.location.href = entry.getAttribute("data-command");
    },
    true
  );
})();
