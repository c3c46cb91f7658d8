#include "MainApplication/settings/PreviewRows.h"

#include <giomm/liststore.h>
#include <glibmm/object.h>

#include <string>

#include "MainApplication/settings/Texts.h"
#include "MainApplication/settings/Widgets.h"

namespace tidewell {
namespace {

constexpr int kSpacing = 12;
constexpr int kMargin = 6;
constexpr char kItem[] = "item";  // where a row's object has its C++ one

/// What a row shows; a group has lines of its own.
class Item : public Glib::Object {
 public:
  static Glib::RefPtr<Item> create(const std::string& title, const std::string& details, std::uint64_t bytes) {
    return Glib::make_refptr_for_instance(new Item(title, details, bytes));
  }

  const std::string title;
  const std::string details;
  const std::uint64_t bytes;
  Glib::RefPtr<Gio::ListStore<Item>> lines = {};  // null for a line

 private:
  Item(const std::string& itsTitle, const std::string& itsDetails, std::uint64_t itsBytes)
      : title(itsTitle), details(itsDetails), bytes(itsBytes) {
    g_object_set_data(gobj(), kItem, this);
  }
};

Item* itemOf(gpointer object) {
  return static_cast<Item*>(g_object_get_data(G_OBJECT(object), kItem));
}

GListModel* linesOf(gpointer object, gpointer) {
  const Item* item = itemOf(object);
  if (item == nullptr || !item->lines) return nullptr;
  return G_LIST_MODEL(g_object_ref(item->lines->gobj()));
}

GtkWidget* newLabel(const char* styleClass) {
  GtkWidget* label = gtk_label_new(nullptr);
  gtk_label_set_xalign(GTK_LABEL(label), 0);
  gtk_label_set_wrap(GTK_LABEL(label), TRUE);
  gtk_label_set_wrap_mode(GTK_LABEL(label), PANGO_WRAP_WORD_CHAR);
  if (styleClass != nullptr) gtk_widget_add_css_class(label, styleClass);
  return label;
}

void setUp(GtkListItemFactory*, GtkListItem* cell, gpointer) {
  GtkWidget* texts = gtk_box_new(GTK_ORIENTATION_VERTICAL, 0);
  GtkWidget* title = newLabel(nullptr);
  GtkWidget* details = newLabel("dim-label");
  gtk_widget_add_css_class(details, "caption");
  gtk_box_append(GTK_BOX(texts), title);
  gtk_box_append(GTK_BOX(texts), details);
  gtk_widget_set_margin_start(texts, kSpacing);
  gtk_widget_set_margin_top(texts, kMargin);
  gtk_widget_set_margin_bottom(texts, kMargin);
  GtkWidget* expander = gtk_tree_expander_new();
  gtk_tree_expander_set_child(GTK_TREE_EXPANDER(expander), texts);
  gtk_list_item_set_child(cell, expander);
}

void bind(GtkListItemFactory*, GtkListItem* cell, gpointer) {
  auto* row = GTK_TREE_LIST_ROW(gtk_list_item_get_item(cell));
  GtkWidget* expander = gtk_list_item_get_child(cell);
  gtk_tree_expander_set_list_row(GTK_TREE_EXPANDER(expander), row);
  gpointer object = gtk_tree_list_row_get_item(row);  // a reference of our own
  if (const Item* item = itemOf(object)) {
    GtkWidget* texts = gtk_tree_expander_get_child(GTK_TREE_EXPANDER(expander));
    GtkWidget* title = gtk_widget_get_first_child(texts);
    gtk_label_set_text(GTK_LABEL(title), item->title.c_str());
    if (item->lines) {
      gtk_widget_add_css_class(title, "heading");
    } else {
      gtk_widget_remove_css_class(title, "heading");
    }
    gtk_label_set_text(GTK_LABEL(gtk_widget_get_next_sibling(title)), item->details.c_str());
    setAccessibleName(expander, item->title + "\n" + item->details);
  }
  g_object_unref(object);
}

}  // namespace

GtkSelectionModel* newPreviewModel(const PreviewList& list) {
  const auto groups = Gio::ListStore<Item>::create();
  for (const PreviewList::Group& group : list.groups) {
    const auto item = Item::create(group.name, group.details, group.bytes);
    item->lines = Gio::ListStore<Item>::create();
    std::vector<Glib::RefPtr<Item>> lines;
    lines.reserve(group.lines.size());
    for (const PreviewList::Line& line : group.lines) {
      lines.push_back(Item::create(line.place, line.details, line.bytes));
    }
    item->lines->splice(0, 0, lines);
    groups->append(item);
  }
  auto* root = G_LIST_MODEL(g_object_ref(groups->gobj()));
  GtkTreeListModel* tree = gtk_tree_list_model_new(root, FALSE, FALSE, linesOf, nullptr, nullptr);
  return GTK_SELECTION_MODEL(gtk_single_selection_new(G_LIST_MODEL(tree)));
}

GtkListItemFactory* newPreviewRows() {
  GtkListItemFactory* factory = gtk_signal_list_item_factory_new();
  g_signal_connect(factory, "setup", G_CALLBACK(setUp), nullptr);
  g_signal_connect(factory, "bind", G_CALLBACK(bind), nullptr);
  return factory;
}

}  // namespace tidewell
